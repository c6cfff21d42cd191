// The fake SDK as a library: its factory, and a test's hold on what the factory makes.
//
// A test links kelvo::fakes_kesdk in place of the real SDK. Then the code under test gets a
// FakeEnterpriseConnection from kesdk::api::CreateKESDKInstance, and the test steers it:
//
//   FakeKesdk& sdk = FakeKesdk::Instance();
//   sdk.Reset();                                    // a fresh farm and script, before each test
//   const auto user = sdk.Farm().AddUser(L"olga", L"secret");
//   sdk.Farm().AddTheSevenProjects();
//   sdk.Script().FailNth(FakeOperation::eUpload, 2, OneError(L"No space left."));
//   ... run the code under test ...
//   sdk.Script().Calls();                           // what it asked of the SDK, in order
//   sdk.Live()->PostState(0);                       // what the service might say by itself
#pragma once

#include "tests/fakes/FakeEnterpriseConnection.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace fakes {

// One a process. Thread safety: from any thread.
class FakeKesdk
{
public:
    static FakeKesdk& Instance();

    // Forgets everything. No connection may be alive.
    void Reset();

    FakeFarm& Farm();
    FakeScript& Script();

    // From now the factory fails.
    void FailFactory();
    // Connections that are made from now stand logged in as this user, without notifications.
    void StartLoggedInAs(std::int64_t userId);

    // The URLs that the factory was called with, in order.
    std::vector<std::string> FactoryUrls() const;
    std::size_t LiveCount() const;
    // The newest connection that is alive, or null.
    FakeEnterpriseConnection* Live() const;

    // For the factory.
    kesdk::api::IEnterpriseConnection* Make(const char* url);
    void Forget(FakeEnterpriseConnection* connection);

private:
    FakeKesdk();

    mutable std::mutex m_mutex; // guards everything below
    std::shared_ptr<FakeFarm> m_farm;
    std::shared_ptr<FakeScript> m_script;
    bool m_factoryFails = false;
    std::int64_t m_startUserId = 0;
    std::vector<std::string> m_urls;
    std::vector<FakeEnterpriseConnection*> m_live;
};

} // namespace fakes
