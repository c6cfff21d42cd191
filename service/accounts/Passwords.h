// Password hashes, by libsodium.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvo::accounts {

enum class EPasswordCost : std::uint8_t { Minimal, Interactive, Moderate };

std::optional<EPasswordCost> passwordCostFromText(std::string_view text);

/**
 * Argon2id. A hash takes up to 64 MiB (interactive) or 256 MiB (moderate) and much time, so it
 * belongs on a pool of few threads. Thread safe. Errors: std::runtime_error if memory is short.
 */
class Passwords
{
public:
    explicit Passwords(EPasswordCost cost);

    std::string hash(const std::string& password) const;

    /** Without a hash (an unknown user) the check takes the same time and returns false. */
    bool verify(const std::string& password, const std::optional<std::string>& hash) const;

private:
    unsigned long long operations_;
    std::size_t memoryBytes_;
    std::string dummyHash_;
};

} // namespace kelvo::accounts
