// The key that sealed configuration items are under, in a file of its own.
#pragma once

#include <QtCore/QString>

#include <array>
#include <cstddef>
#include <cstdint>

namespace hostimpl {

enum class EKeyFile : std::uint8_t {
    eLoaded,
    eMissing,
    eInvalid,  // not a key: to be replaced
    eUnusable, // may well be a key, but cannot be read or kept from others: left alone
};

// 32 random bytes, wiped when the object ends. One is read for each sealing and not kept longer.
//
// From one thread at a time. Errors: texts say which file and why, never what is in it.
class TSecretKey final
{
public:
    static constexpr std::size_t SIZE_BYTES = 32;

    TSecretKey() = default;
    ~TSecretKey();
    TSecretKey(const TSecretKey&) = delete;
    TSecretKey& operator=(const TSecretKey&) = delete;

    // Reads a file that is its owner's only. One that is open to others is made private and read
    // all the same; `remark` says so then, or why there is no key.
    EKeyFile Load(const QString& path, QString& remark);

    // Makes a key and its file, which is on the disk, whole, before it has its name. Never replaces
    // a file; if there is one by now, it is read.
    bool Create(const QString& path, QString& errorText);

    const unsigned char* Bytes() const { return m_bytes.data(); }

private:
    std::array<unsigned char, SIZE_BYTES> m_bytes = {};
};

} // namespace hostimpl
