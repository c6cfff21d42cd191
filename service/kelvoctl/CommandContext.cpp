#include "service/kelvoctl/CommandContext.h"

#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"

#include <iostream>

namespace kelvoctl {

std::filesystem::path CommandContext::file() const
{
    return sessionFile.empty() ? Session::defaultFile() : std::filesystem::path(sessionFile);
}

const std::optional<Session>& CommandContext::stored()
{
    if (!m_loaded) {
        m_session = Session::load(file());
        m_loaded = true;
    }
    return m_session;
}

const Session& CommandContext::session()
{
    if (!stored()) {
        throw UsageError("Not logged in: use `kelvoctl --server HOST:PORT login USER` first.");
    }
    if (!server.empty() && server != m_session->server) {
        throw UsageError("The session is for " + m_session->server + ", not for " + server +
                         ": log in there first.");
    }
    return *m_session;
}

ApiClient& CommandContext::client()
{
    if (!m_client) {
        const Session& current = session();
        m_client = std::make_unique<ApiClient>(current.server, effectiveCa(), current.token);
    }
    return *m_client;
}

std::unique_ptr<ApiClient> CommandContext::anonymousClient()
{
    return std::make_unique<ApiClient>(effectiveServer(), effectiveCa(), "");
}

void CommandContext::adopt(const Session& session)
{
    session.save(file());
    m_session = session;
    m_loaded = true;
    m_client.reset();
}

void CommandContext::forget()
{
    Session::remove(file());
    m_session.reset();
    m_client.reset();
}

std::string CommandContext::effectiveServer()
{
    if (!server.empty()) {
        return server;
    }
    if (!stored()) {
        throw UsageError("Give the service with --server HOST:PORT.");
    }
    return m_session->server;
}

std::string CommandContext::effectiveCa()
{
    if (!ca.empty()) {
        return std::filesystem::absolute(ca).string();
    }
    return stored() && m_session->server == effectiveServer() ? m_session->ca : std::string();
}

void CommandContext::print(const nlohmann::json& value, const std::string& text) const
{
    std::cout << (json ? oneLine(value) : text) << std::endl;
}

std::string oneLine(const nlohmann::json& value)
{
    return escapedJson(value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

} // namespace kelvoctl
