#include "contract/ContractFixture.h"

namespace kesdk::test {

Contract::Contract()
{
    connection->Subscribe(&listener);
}

Contract::~Contract()
{
    if (connection)
        connection->Unsubscribe(&listener);
}

void Contract::LogIn()
{
    ASSERT_TRUE(connection->Login(backend->UserName(), Backend::kPassword, nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginSuccessful));
}

std::int64_t Contract::ProjectId(const std::wstring& name)
{
    for (const api::EnterpriseProject& project : connection->GetProjects()) {
        if (project.name == name)
            return project.id;
    }
    return 0;
}

std::int64_t Contract::MakeInbox(const std::wstring& project)
{
    EXPECT_TRUE(connection->CreateUserInbox(project));
    const std::int64_t user = connection->GetCurrentUser().id;
    const auto resources = connection->GetProjectResources(ProjectId(project));
    for (const api::EnterpriseResourceWithContent& resource : resources) {
        if (resource.kind == api::eUserInboxResource && resource.ownerUserId == user)
            return resource.id;
    }
    ADD_FAILURE() << "the inbox is not listed";
    return 0;
}

bool Contract::Upload(const std::string& name, const std::string& content,
                      const std::vector<std::int64_t>& inboxIds)
{
    folder.Write(name, content);
    return connection->Upload(folder.WidePath(name).c_str(), api::IEnterpriseConnection::TargetIds(
                                                                 inboxIds.begin(), inboxIds.end()));
}

std::vector<std::int64_t> Contract::Files(std::int64_t inboxId)
{
    std::vector<std::int64_t> ids;
    const auto inbox = connection->GetResourceWithContent(inboxId);
    for (const api::EnterpriseResource& file : inbox.content)
        ids.push_back(file.id);
    return ids;
}

std::wstring Contract::FirstText()
{
    const auto errors = connection->GetLastErrors();
    return errors.empty() ? std::wstring() : errors.front().text1;
}

bool Contract::WaitForChange(std::int64_t containerId, std::int64_t resourceId) const
{
    return listener.WaitForChange(static_cast<unsigned long>(containerId),
                                  static_cast<long>(resourceId));
}

} // namespace kesdk::test
