#include "tests/fakes/FakeKesdk.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace fakes {

namespace {

// The destructor removes it from the list of live connections.
class TListedConnection final : public FakeEnterpriseConnection
{
public:
    using FakeEnterpriseConnection::FakeEnterpriseConnection;
    ~TListedConnection() override { FakeKesdk::Instance().Forget(this); }
};

} // namespace

FakeKesdk& FakeKesdk::Instance()
{
    static FakeKesdk instance;
    return instance;
}

FakeKesdk::FakeKesdk()
    : m_farm(std::make_shared<FakeFarm>()), m_script(std::make_shared<FakeScript>())
{}

void FakeKesdk::Reset()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_live.empty()) {
        std::fputs("FakeKesdk::Reset: a connection is still alive\n", stderr);
        std::abort();
    }
    m_farm = std::make_shared<FakeFarm>();
    m_script = std::make_shared<FakeScript>();
    m_factoryFails = false;
    m_startUserId = 0;
    m_urls.clear();
}

FakeFarm& FakeKesdk::Farm()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return *m_farm;
}

FakeScript& FakeKesdk::Script()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return *m_script;
}

void FakeKesdk::FailFactory()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_factoryFails = true;
}

void FakeKesdk::StartLoggedInAs(std::int64_t userId)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_startUserId = userId;
}

std::vector<std::string> FakeKesdk::FactoryUrls() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_urls;
}

std::size_t FakeKesdk::LiveCount() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_live.size();
}

FakeEnterpriseConnection* FakeKesdk::Live() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_live.empty() ? nullptr : m_live.back();
}

kesdk::api::IEnterpriseConnection* FakeKesdk::Make(const char* url)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_urls.emplace_back(url);
    if (m_factoryFails)
        return nullptr;
    auto connection = std::make_unique<TListedConnection>(m_farm, m_script);
    connection->StartLoggedIn(m_startUserId);
    m_live.push_back(connection.get());
    return connection.release();
}

void FakeKesdk::Forget(FakeEnterpriseConnection* connection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_live.erase(std::remove(m_live.begin(), m_live.end(), connection), m_live.end());
}

} // namespace fakes

namespace kesdk::api {

bool CreateKESDKInstance(IEnterpriseConnection** out, const char* url)
{
    *out = fakes::FakeKesdk::Instance().Make(url);
    return *out != nullptr;
}

} // namespace kesdk::api
