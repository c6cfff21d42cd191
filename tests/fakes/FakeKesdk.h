// The fake SDK as a library: its factory, and a test's access to the created connections.
//
// A test links kelvo::fakes_kesdk instead of the real SDK. Then the code under test gets a
// FakeEnterpriseConnection from kesdk::api::CreateKESDKInstance, and the test controls it:
//
//   FakeKesdk& sdk = FakeKesdk::Instance();
//   sdk.Reset();                                    // a fresh farm and script, before each test
//   const auto user = sdk.Farm().AddUser(L"olga", L"secret");
//   sdk.Farm().AddTheSevenProjects();
//   sdk.Script().FailNth(FakeOperation::eUpload, 2, OneError(L"No space left."));
//   ... run the code under test ...
//   sdk.Script().Calls();                           // the calls of the SDK, in order
//   sdk.Live()->PostState(0);                       // a state change by the service
#pragma once

#include "tests/fakes/FakeEnterpriseConnection.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace fakes {

// One for each process. Thread safety: safe.
class FakeKesdk
{
public:
    static FakeKesdk& Instance();

    // Clears everything. No connection may be alive.
    void Reset();

    FakeFarm& Farm();
    FakeScript& Script();

    // From now on the factory fails.
    void FailFactory();
    // Connections that are created from now on are logged in as this user, without notifications.
    void StartLoggedInAs(std::int64_t userId);

    // The URLs of the factory's calls, in order.
    std::vector<std::string> FactoryUrls() const;
    std::size_t LiveCount() const;
    // The newest live connection, or null.
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
