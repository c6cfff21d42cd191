#include "service/kelvoctl/Session.h"

#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/LocalFiles.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace kelvoctl {

using nlohmann::json;

std::optional<Session> Session::load(const std::filesystem::path& file)
{
    const std::optional<kelvo::FileStatus> status = localFileStatus(file);
    if (!status) {
        return std::nullopt;
    }
    if ((status->mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw UsageError(file.string() +
                         " can be read by other users: remove it and log in again.");
    }
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    try {
        const json value = json::parse(text);
        return Session{value.at("server"), value.at("ca"), value.at("user"), value.at("token")};
    } catch (const json::exception&) {
        throw UsageError(file.string() + " is not a session file: remove it and log in again.");
    }
}

void Session::save(const std::filesystem::path& file) const
{
    const json value = {{"server", server}, {"ca", ca}, {"user", user}, {"token", token}};
    replacePrivateFile(file, value.dump(2) + "\n");
}

void Session::remove(const std::filesystem::path& file)
{
    std::error_code ignored; // a missing file is fine
    std::filesystem::remove(file, ignored);
}

std::filesystem::path Session::defaultFile()
{
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') {
        throw UsageError("HOME is not set: give the session file with --session.");
    }
    return std::filesystem::path(home) / ".config" / "kelvoctl" / "session.json";
}

} // namespace kelvoctl
