#include "contract/RealFarm.h"

#include "base/Text.h"

#include <stdexcept>

namespace kesdk::test {

namespace {

using nlohmann::json;

constexpr const char* kOfficePassword = "office password";

void Expect(const ApiAnswer& answer, long status, const std::string& what)
{
    if (answer.status != status)
        throw std::runtime_error(what + ": " + std::to_string(answer.status) + " " + answer.body);
}

} // namespace

ServiceProcess& SharedService()
{
    static ServiceProcess service(KELVO_SERVICE_BINARY);
    return service;
}

RealFarm::RealFarm()
    : m_admin(SharedService(), "admin", SharedService().AdminPassword()), m_office(MakeOffice())
{}

std::wstring RealFarm::UserName() const
{
    return L"olga" + impl::ToWide(m_name);
}

std::int64_t RealFarm::PutFile(std::int64_t inboxId, const std::wstring& name,
                               const std::string& content) const
{
    const ApiAnswer answer =
        m_office.Send("POST", "/uploads", content,
                      {"Tus-Resumable: 1.0.0", "Upload-Length: " + std::to_string(content.size()),
                       "Upload-Metadata: name " + impl::EncodeBase64(impl::ToUtf8(name)) +
                           ",targets " + impl::EncodeBase64(std::to_string(inboxId)),
                       "Content-Type: application/offset+octet-stream", "Expect:"});
    Expect(answer, 201, "upload");
    return json::parse(answer.body)["files"][0]["id"].get<std::int64_t>();
}

void RealFarm::RemoveFile(std::int64_t fileId) const
{
    Expect(m_office.Send("DELETE", "/resources/" + std::to_string(fileId), {}), 204, "delete");
}

std::string RealFarm::Content(std::int64_t fileId) const
{
    const ApiAnswer answer =
        m_office.Send("GET", "/resources/" + std::to_string(fileId) + "/content", {});
    Expect(answer, 200, "content");
    return answer.body;
}

void RealFarm::EndSessions() const
{
    Ask(m_admin, "PATCH", "/users/" + std::to_string(m_userId), {{"password", "another password"}},
        200);
}

json RealFarm::Ask(const ApiSession& session, const std::string& method, const std::string& target,
                   const json& body, long status)
{
    const ApiAnswer answer =
        session.Send(method, target, body.dump(), {"Content-Type: application/json"});
    Expect(answer, status, target);
    return json::parse(answer.body);
}

std::int64_t RealFarm::MakeUser(const std::string& name, const std::string& password,
                                const std::string& role) const
{
    const json user = {
        {"farm", "Farm " + m_name}, {"name", name}, {"password", password}, {"role", role}};
    return Ask(m_admin, "POST", "/users", user, 201).at("id").get<std::int64_t>();
}

ApiSession RealFarm::MakeOffice()
{
    Ask(m_admin, "POST", "/farms", {{"name", "Farm " + m_name}}, 201);
    m_userId = MakeUser(impl::ToUtf8(UserName()), impl::ToUtf8(kPassword), "operator");
    MakeUser("office" + m_name, kOfficePassword, "office");
    return ApiSession(SharedService(), "office" + m_name, kOfficePassword);
}

} // namespace kesdk::test
