// The key of the sealed configuration items, and its file.
#pragma once

#include <QtCore/QString>

#include <array>
#include <cstddef>
#include <cstdint>

namespace hostimpl {

enum class EKeyFile : std::uint8_t {
    eLoaded,
    eMissing,
    eInvalid,  // not a key; will be replaced
    eUnusable, // perhaps a key, but unreadable or open to other users; will not be replaced
};

// 32 random bytes. The destructor wipes them. The key is read for each sealing and not kept longer.
//
// From one thread at a time. Errors: texts name the file and the reason, never the file's content.
class TSecretKey final
{
public:
    static constexpr std::size_t SIZE_BYTES = 32;

    TSecretKey() = default;
    ~TSecretKey();
    TSecretKey(const TSecretKey&) = delete;
    TSecretKey& operator=(const TSecretKey&) = delete;

    // Reads the key file. If the file is open to other users, its mode is set to 0600 first.
    // `remark` tells about this change, or why there is no key.
    EKeyFile Load(const QString& path, QString& remark);

    // Creates a key and its file. The file is written and synced under another name and then gets
    // its own name. Never replaces a file; if the file exists by now, it is read.
    bool Create(const QString& path, QString& errorText);

    const unsigned char* Bytes() const { return m_bytes.data(); }

private:
    std::array<unsigned char, SIZE_BYTES> m_bytes = {};
};

} // namespace hostimpl
