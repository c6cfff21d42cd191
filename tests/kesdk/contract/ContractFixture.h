// The contract suite's fixture: a connection to a backend, and a listener on it.
#pragma once

#include "contract/Backend.h"
#include "support/RecordingListener.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kesdk::test {

class Contract : public testing::TestWithParam<BackendFactory>
{
protected:
    Contract();
    ~Contract() override;

    void LogIn();
    // Creates the user's inbox in the project if it is missing. Returns its id.
    std::int64_t MakeInbox(const std::wstring& project);
    std::int64_t ProjectId(const std::wstring& name);
    bool Upload(const std::string& name, const std::string& content,
                const std::vector<std::int64_t>& inboxIds);
    std::vector<std::int64_t> Files(std::int64_t inboxId);
    // The operator's text of the last call's first error.
    std::wstring FirstText();
    bool WaitForChange(std::int64_t containerId, std::int64_t resourceId) const;

    std::unique_ptr<Backend> backend = GetParam()();
    kelvo::test::TempFolder folder;
    RecordingListener listener;
    std::unique_ptr<api::IEnterpriseConnection> connection = backend->MakeConnection();
};

} // namespace kesdk::test
