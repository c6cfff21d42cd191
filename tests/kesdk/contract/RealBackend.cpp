// The contract suite on the real library and a real service, with a farm of its own for each test.
#include "contract/ContractFixture.h"
#include "contract/ServiceProcess.h"

#include "base/Text.h"

#include <nlohmann/json.hpp>

#include <stdlib.h>

#include <stdexcept>

namespace kesdk::test {

namespace {

using nlohmann::json;

constexpr const char* kOfficePassword = "office password";

// One for the whole program.
ServiceProcess& Service()
{
    static ServiceProcess service(KELVO_SERVICE_BINARY);
    return service;
}

class RealBackend : public Backend
{
public:
    RealBackend()
        : m_name(std::to_string(++s_count)),
          m_admin(Service(), "admin", Service().AdminPassword()),
          m_office(MakeFarm())
    {
        ::setenv("KESDK_CA_FILE", Service().AuthorityFile().c_str(), 1);
    }

    std::unique_ptr<api::IEnterpriseConnection> MakeConnection() override
    {
        api::IEnterpriseConnection* connection = nullptr;
        if (!api::CreateKESDKInstance(&connection, Service().Url().c_str()))
            throw std::runtime_error("no connection");
        return std::unique_ptr<api::IEnterpriseConnection>(connection);
    }

    std::wstring UserName() const override { return kUser + impl::ToWide(m_name); }

    std::int64_t PutFile(std::int64_t inboxId, const std::wstring& name,
                         const std::string& content) override
    {
        const ApiReply reply = m_office.Send(
            "POST", "/uploads", content,
            {"Tus-Resumable: 1.0.0", "Upload-Length: " + std::to_string(content.size()),
             "Upload-Metadata: name " + impl::EncodeBase64(impl::ToUtf8(name)) + ",targets " +
                 impl::EncodeBase64(std::to_string(inboxId)),
             "Content-Type: application/offset+octet-stream", "Expect:"});
        if (reply.status != 201)
            throw std::runtime_error("no upload: " + reply.body);
        return json::parse(reply.body)["files"][0]["id"].get<std::int64_t>();
    }

    void RemoveFile(std::int64_t fileId) override
    {
        const ApiReply reply = m_office.Send("DELETE", "/resources/" + std::to_string(fileId), {});
        if (reply.status != 204)
            throw std::runtime_error("no delete: " + reply.body);
    }

    std::string Content(std::int64_t fileId) override
    {
        return m_office.Send("GET", "/resources/" + std::to_string(fileId) + "/content", {}).body;
    }

    void EndSession() override
    {
        const std::string user = "/users/" + std::to_string(m_userId);
        Json(m_admin, "PATCH", user, {{"password", "another password"}}, 200);
    }

    void HoldLogins() override { Service().Freeze(); }
    void ReleaseLogins() override { Service().Thaw(); }

private:
    static json Json(const ApiSession& session, const std::string& method,
                     const std::string& target, const json& body, long status)
    {
        const ApiReply reply =
            session.Send(method, target, body.dump(), {"Content-Type: application/json"});
        if (reply.status != status)
            throw std::runtime_error(target + ": " + reply.body);
        return json::parse(reply.body);
    }

    std::int64_t MakeUser(const std::string& name, const std::string& password,
                          const std::string& role)
    {
        return Json(m_admin, "POST", "/users",
                    {{"farm", "Farm " + m_name},
                     {"name", name},
                     {"password", password},
                     {"role", role}},
                    201)
            .at("id")
            .get<std::int64_t>();
    }

    ApiSession MakeFarm()
    {
        Json(m_admin, "POST", "/farms", {{"name", "Farm " + m_name}}, 201);
        m_userId = MakeUser(impl::ToUtf8(UserName()), impl::ToUtf8(kPassword), "operator");
        MakeUser("office" + m_name, kOfficePassword, "office");
        return ApiSession(Service(), "office" + m_name, kOfficePassword);
    }

    static inline int s_count = 0;

    const std::string m_name;
    std::int64_t m_userId = 0;
    ApiSession m_admin;
    ApiSession m_office;
};

std::unique_ptr<Backend> MakeRealBackend()
{
    return std::make_unique<RealBackend>();
}

} // namespace

INSTANTIATE_TEST_SUITE_P(RealService, Contract, testing::Values(&MakeRealBackend));

} // namespace kesdk::test
