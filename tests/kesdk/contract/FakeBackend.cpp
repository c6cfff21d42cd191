// The contract suite on the fake that the plug-in's tests use.
#include "contract/ContractFixture.h"
#include "tests/fakes/FakeKesdk.h"

namespace kesdk::test {

namespace {

using fakes::FakeKesdk;

class FakeBackend : public Backend
{
public:
    FakeBackend()
    {
        FakeKesdk::Instance().Reset();
        Farm().AddTheSevenProjects();
        Farm().AddUser(kUser, kPassword);
    }

    std::unique_ptr<api::IEnterpriseConnection> MakeConnection() override
    {
        api::IEnterpriseConnection* connection = nullptr;
        api::CreateKESDKInstance(&connection, "https://localhost/kelvo-api");
        return std::unique_ptr<api::IEnterpriseConnection>(connection);
    }

    std::int64_t PutFile(std::int64_t inboxId, const std::wstring& name,
                         const std::string& content) override
    {
        return Farm().AddFile(inboxId, name, content);
    }
    void RemoveFile(std::int64_t fileId) override { Farm().RemoveEntry(fileId); }
    std::string Content(std::int64_t fileId) override
    {
        return Farm().Content(fileId).value_or("no such file");
    }
    void EndSession() override { FakeKesdk::Instance().Live()->LoseSession(); }
    void HoldLogins() override { FakeKesdk::Instance().Script().HoldLoginOutcome(m_gate); }
    void ReleaseLogins() override { m_gate->Open(); }

private:
    static fakes::FakeFarm& Farm() { return FakeKesdk::Instance().Farm(); }

    std::shared_ptr<fakes::FakeGate> m_gate = std::make_shared<fakes::FakeGate>();
};

std::unique_ptr<Backend> MakeFakeBackend()
{
    return std::make_unique<FakeBackend>();
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Fake, Contract, testing::Values(&MakeFakeBackend));

} // namespace kesdk::test
