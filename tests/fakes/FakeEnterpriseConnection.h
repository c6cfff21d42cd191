// A connection to a farm in memory that keeps the contract's promises.
#pragma once

#include "tests/fakes/FakeFarm.h"
#include "tests/fakes/FakeNotifier.h"
#include "tests/fakes/FakeScript.h"

#include "kesdk/api/IEnterpriseConnection.h"

#include <functional>
#include <memory>
#include <mutex>

namespace fakes {

// Works on the farm. Records each call in the script. The script can fail a call or run a test's
// code in it.
//
// It keeps these promises of the contract. A login starts and reports 1, then 3 or 4. A second
// login during a login is ignored. The end of a session is reported as 0. Without a session every
// call fails at once; only GetResourceWithContent still answers if the service ended the session.
// Every call clears the errors of the previous call. Changes of a container are reported as kind 4
// on the notification thread, to the users of the container. A download creates the complete file
// or no file. The abort check ends a waiting call, and ends transfers and deletions before they
// start.
//
// Thread safety: the operations from one thread, as in the contract; the public members below them
// from any thread.
class FakeEnterpriseConnection : public kesdk::api::IEnterpriseConnection
{
public:
    using ResourceChange = kesdk::api::IResourceChangeNotification::ResourceChange;
    struct DeviceReport
    {
        bool connected = false; // false: reported by MeasDeviceDisconnected
        kesdk::api::Environment::MeasDeviceReport report;
        bool sharing = false;
    };

    FakeEnterpriseConnection(std::shared_ptr<FakeFarm> farm, std::shared_ptr<FakeScript> script);
    ~FakeEnterpriseConnection() override;

    bool Login(const std::wstring& userName, const std::wstring& password, const void* reserved,
               std::uint32_t reservedFlags) override;
    bool Logout() override;
    bool IsLoggedIn() override;
    xal_list<kesdk::api::CErrorMsg> GetLastErrors() override;
    xal_list<kesdk::api::CErrorMsg> GetLastLoginErrors() override;
    void Subscribe(kesdk::api::ISubscriable* listener) override;
    void Unsubscribe(kesdk::api::ISubscriable* listener) override;
    std::vector<kesdk::api::EnterpriseProject> GetProjects() override;
    std::list<kesdk::api::EnterpriseResourceWithContent>
    GetProjectResources(std::int64_t projectId) override;
    kesdk::api::EnterpriseResourceWithContent
    GetResourceWithContent(std::int64_t resourceId) override;
    kesdk::api::CurrentUser GetCurrentUser() override;
    bool CreateUserInbox(const std::wstring& projectName) override;
    bool Upload(const wchar_t* localPath, const TargetIds& targetInboxIds) override;
    bool Download(std::int64_t resourceId, const wchar_t* localPath) override;
    bool Delete(std::int64_t resourceId) override;
    bool SendEnvironment(const kesdk::api::Environment& environment) override;
    bool MeasDeviceConnected(const kesdk::api::Environment::MeasDeviceReport& report,
                             bool sharing) override;
    std::int32_t MeasDeviceDisconnected(const kesdk::api::Environment::MeasDeviceReport& report,
                                        bool sharing) override;
    bool ReportPosition(const kesdk::api::Position& position) override;
    void SetAbortCheck(std::function<bool()> shouldAbort) override;

    // Is logged in at once, without notifications.
    void StartLoggedIn(std::int64_t userId);
    // The service ends the session. A notification of state 0 follows.
    void LoseSession();
    // Posts any value, also one that the service never sends.
    void PostState(std::int32_t state);
    void PostChange(const ResourceChange& change);
    // Waits until all notifications of earlier posts and calls have been delivered.
    void DrainNotifications() { m_notifier.Drain(); }
    std::thread::id NotificationThread() const { return m_notifier.ThreadId(); }
    std::vector<kesdk::api::Position> Positions() const;
    std::vector<kesdk::api::Environment> Environments() const;
    std::vector<DeviceReport> DeviceReports() const;

private:
    bool Begins(FakeCall call);
    bool BeginsInSession(FakeCall call);
    bool Fails(const FakeErrors& errors);
    bool BeginsTransfer(FakeCall call);
    bool HasSession();
    std::int64_t UserId() const;
    std::int64_t SnapshotUserId() const;
    void FinishLogin(const std::wstring& userName, const std::wstring& password);
    void OnFarmChange(const FakeFarm::Change& change);
    kesdk::api::ConnectionState StateNow(std::int32_t state) const;

    const std::shared_ptr<FakeFarm> m_farm;
    const std::shared_ptr<FakeScript> m_script;

    mutable std::mutex m_mutex; // guards the members up to m_deviceReports
    std::int64_t m_userId = 0;
    std::int64_t m_snapshotUserId = 0; // outlives a lost session, until the logout
    bool m_isSessionLost = false;
    std::int32_t m_loginCount = 0;
    bool m_loginInFlight = false;
    FakeErrors m_errors;
    FakeErrors m_loginErrors;
    FakeAbortCheck m_abortCheck;
    std::vector<kesdk::api::Position> m_positions;
    std::vector<kesdk::api::Environment> m_environments;
    std::vector<DeviceReport> m_deviceReports;

    FakeNotifier m_notifier;
    int m_observerId = 0;
};

} // namespace fakes
