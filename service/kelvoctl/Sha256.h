// SHA-256 of a stream of bytes, in the two spellings of the wire.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace kelvoctl {

// Collects bytes with add(); the digest can be asked for once, which ends the collecting.
class Sha256
{
public:
    Sha256();
    ~Sha256();
    Sha256(Sha256&&) noexcept;
    Sha256& operator=(Sha256&&) noexcept;

    void add(std::string_view bytes);
    std::string digest(); // 32 raw bytes

private:
    struct State;
    std::unique_ptr<State> m_state;
};

// As in the records: 64 lower-case hexadecimal digits.
std::string hexDigest(std::string_view digest);
// As in Repr-Digest: sha-256=:BASE64:
std::string digestHeader(std::string_view digest);

} // namespace kelvoctl
