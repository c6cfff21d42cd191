// What all commands share: the global options, the session, the connection, and how results are
// printed.
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

    // The logged-in session. Throws UsageError when there is none or when it belongs to a server
    // other than --server: a token goes only to who gave it.
    const Session& session();
    // A connection that carries the session's token.
    ApiClient& client();
    // A connection without a token, for logging in.
    std::unique_ptr<ApiClient> anonymousClient();
    // Remembers who logged in, on disk too.
    void adopt(const Session& session);
    void forget();
    // Server and CA in effect: the options, else what the last login left.
    std::string effectiveServer();
    std::string effectiveCa();

    // With --json the value on one line, otherwise the text.
    void print(const nlohmann::json& value, const std::string& text) const;

private:
    std::filesystem::path file() const;
    const std::optional<Session>& stored();

    bool m_loaded = false;
    std::optional<Session> m_session;
    std::unique_ptr<ApiClient> m_client;
};

// JSON for a line of output; bytes that are not UTF-8 are replaced rather than refused.
std::string oneLine(const nlohmann::json& value);

} // namespace kelvoctl
