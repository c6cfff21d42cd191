// Shared by all commands: the global options, the session, the connection and the printing of
// results.
#pragma once

#include "service/kelvoctl/ApiClient.h"
#include "service/kelvoctl/Session.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <string>

namespace kelvoctl {

class CommandContext
{
public:
    // Set by the command line.
    std::string server;
    std::string ca;
    std::string sessionFile;
    bool json = false;
    // The chosen command, run after the command line has been read.
    std::function<void()> action;

    // Returns the logged-in session. Throws UsageError if there is none, or if its server is not
    // --server: a token is only sent to the server that issued it.
    const Session& session();
    // A connection with the session's token.
    ApiClient& client();
    // A connection without a token, for the login.
    std::unique_ptr<ApiClient> anonymousClient();
    // Stores the session, also on the disk.
    void adopt(const Session& session);
    void forget();
    // The server and the CA: from the options, or else from the last login.
    std::string effectiveServer();
    std::string effectiveCa();

    // Prints the value on one line with --json, otherwise the text.
    void print(const nlohmann::json& value, const std::string& text) const;

private:
    std::filesystem::path file() const;
    const std::optional<Session>& stored();

    bool m_loaded = false;
    std::optional<Session> m_session;
    std::unique_ptr<ApiClient> m_client;
};

// JSON on one line. Bytes that are not UTF-8 are replaced.
std::string oneLine(const nlohmann::json& value);

} // namespace kelvoctl
