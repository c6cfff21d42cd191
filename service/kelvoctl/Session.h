// The session between two runs of the tool: where the service is and the token that it gave.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kelvoctl {

// What `login` leaves for the commands after it. The token is a secret: the file has mode 0600, is
// replaced atomically, and is not read when others could have read or written it.
struct Session
{
    std::string server; // HOST:PORT
    std::string ca;     // Certificate file, absolute; empty for the system's authorities
    std::string user;
    std::string token;

    // Nothing when there is no file. Throws UsageError for one that cannot be used.
    static std::optional<Session> load(const std::filesystem::path& file);
    void save(const std::filesystem::path& file) const;
    static void remove(const std::filesystem::path& file);
    // ~/.config/kelvoctl/session.json
    static std::filesystem::path defaultFile();
};

} // namespace kelvoctl
