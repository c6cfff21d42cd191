// The stored session: the service's address and the token.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kelvoctl {

// `login` stores it for later commands. The token is a secret: the file has mode 0600, is replaced
// atomically, and is not read if other users could read or write it.
struct Session
{
    std::string server; // HOST:PORT
    std::string ca;     // certificate file, absolute; empty for the system's authorities
    std::string user;
    std::string token;

    // Empty if there is no file. Throws UsageError if the file is not usable.
    static std::optional<Session> load(const std::filesystem::path& file);
    void save(const std::filesystem::path& file) const;
    static void remove(const std::filesystem::path& file);
    // ~/.config/kelvoctl/session.json
    static std::filesystem::path defaultFile();
};

} // namespace kelvoctl
