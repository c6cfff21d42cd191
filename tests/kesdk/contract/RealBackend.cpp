// The contract suite on the real library and a real service, with a new farm for each test.
#include "contract/ContractFixture.h"
#include "contract/RealFarm.h"

#include <stdlib.h>

#include <stdexcept>

namespace kesdk::test {

namespace {

class RealBackend : public Backend
{
public:
    RealBackend() { ::setenv("KESDK_CA_FILE", SharedService().AuthorityFile().c_str(), 1); }

    std::unique_ptr<api::IEnterpriseConnection> MakeConnection() override
    {
        api::IEnterpriseConnection* connection = nullptr;
        if (!api::CreateKESDKInstance(&connection, SharedService().Url().c_str()))
            throw std::runtime_error("no connection");
        return std::unique_ptr<api::IEnterpriseConnection>(connection);
    }

    std::wstring UserName() const override { return m_farm.UserName(); }
    std::int64_t PutFile(std::int64_t inboxId, const std::wstring& name,
                         const std::string& content) override
    {
        return m_farm.PutFile(inboxId, name, content);
    }
    void RemoveFile(std::int64_t fileId) override { m_farm.RemoveFile(fileId); }
    std::string Content(std::int64_t fileId) override { return m_farm.Content(fileId); }
    void EndSession() override { m_farm.EndSessions(); }
    void HoldLogins() override { SharedService().Freeze(); }
    void ReleaseLogins() override { SharedService().Thaw(); }

private:
    RealFarm m_farm;
};

std::unique_ptr<Backend> MakeRealBackend()
{
    return std::make_unique<RealBackend>();
}

} // namespace

INSTANTIATE_TEST_SUITE_P(RealService, Contract, testing::Values(&MakeRealBackend));

} // namespace kesdk::test
