// The client SDK's connection to the service, and the factory that makes one.
#pragma once

#include "kesdk/api/CErrorMsg.h"
#include "kesdk/api/Environment.h"
#include "kesdk/api/ISubscriable.h"
#include "kesdk/api/Resources.h"
#include "kesdk/api/xal_list.h"

#include <cstdint>
#include <functional>
#include <list>
#include <set>
#include <string>
#include <vector>

namespace kesdk::api {

// A session with the service and all its operations.
//
// Thread safety: all operations are called from one thread (the owner's). Listeners are called on
// the connection's own notification thread, never from inside a caller's call.
// Blocking: an operation waits at most 15 s (getters and reports), 30 s (CreateUserInbox and
// Delete) or 2 s (Logout). A transfer lasts as long as bytes move. Login, IsLoggedIn, GetProjects,
// GetCurrentUser and ReportPosition never wait for the network.
// Errors: a false (or empty) result leaves records in GetLastErrors(), most recent first; each
// operation clears them when it starts. Without a session every operation fails at once, except
// GetResourceWithContent.
class IEnterpriseConnection
{
public:
    // Set of the ids of the user inboxes that receive an upload.
    using TargetIds = std::set<std::uint64_t>;

    IEnterpriseConnection() = default;
    IEnterpriseConnection(const IEnterpriseConnection&) = delete;
    IEnterpriseConnection& operator=(const IEnterpriseConnection&) = delete;

    // Ends running work and joins the connection's threads. Ends the session on the service too, if
    // the service answers within 2 s. Afterwards no listener call is running or will start.
    virtual ~IEnterpriseConnection() = default;

    // Starts a login. The outcome arrives as connection states: 1, then 3 or 4. True if the login
    // started, or if one is in progress already (the second is ignored). False leaves records in
    // GetLastLoginErrors(). The last two arguments are reserved: pass null and 0.
    virtual bool Login(const std::wstring& userName, const std::wstring& password,
                       const void* reserved, std::uint32_t reservedFlags) = 0;

    // Ends the session or the login: always on the console, and on the service if it answers within
    // 2 s. True if there was a session or a login; connection state 0 follows.
    virtual bool Logout() = 0;

    // Whether there is a session. Asks no network. A lost link does not end the session.
    virtual bool IsLoggedIn() = 0;

    virtual xal_list<CErrorMsg> GetLastErrors() = 0;

    // The errors of the last login. They have their own list, because another thread writes them.
    // The next login clears them.
    virtual xal_list<CErrorMsg> GetLastLoginErrors() = 0;

    // The listener gets the kinds of events that it names, until Unsubscribe. Not owned.
    virtual void Subscribe(ISubscriable* listener) = 0;
    // Afterwards no call of the listener is running or will start.
    virtual void Unsubscribe(ISubscriable* listener) = 0;

    // Answered from the snapshot of the account, also without a link. The SDK asks the service only
    // for a project or resource that the snapshot lacks. The order is the service's.
    virtual std::vector<EnterpriseProject> GetProjects() = 0;
    virtual std::list<EnterpriseResourceWithContent>
    GetProjectResources(std::int64_t projectId) = 0;
    // The snapshot also answers after the service has ended the session: a missing record would
    // mean that the file is gone. The operation that follows fails and tells the end of the
    // session.
    virtual EnterpriseResourceWithContent GetResourceWithContent(std::int64_t resourceId) = 0;
    virtual CurrentUser GetCurrentUser() = 0;

    // Creates the user's inbox in the project of that name. True if the inbox exists afterwards.
    // Safe to repeat. Sends no request if the snapshot has the inbox.
    virtual bool CreateUserInbox(const std::wstring& projectName) = 0;

    // Sends a file into every target, all or none. True: the service has stored the file with the
    // digest that was computed while the file was read. Safe to repeat.
    virtual bool Upload(const wchar_t* localPath, const TargetIds& targetInboxIds) = 0;

    // Downloads a file. True: the whole file, verified and synced, has the name localPath. False:
    // no new file has this name.
    virtual bool Download(std::int64_t resourceId, const wchar_t* localPath) = 0;

    // Moves a file to the farm's bin.
    virtual bool Delete(std::int64_t resourceId) = 0;

    // True also if the service refuses the report, does not answer or has a fault. A refused report
    // is dropped. Otherwise the session's next operation that reaches the service sends the latest
    // report again, for 2 s at most.
    virtual bool SendEnvironment(const Environment& environment) = 0;
    // `sharing`: the device is connected. After a failure, reports may fail at once for up to 10 s.
    virtual bool MeasDeviceConnected(const Environment::MeasDeviceReport& report, bool sharing) = 0;
    // Non-zero on success.
    virtual std::int32_t MeasDeviceDisconnected(const Environment::MeasDeviceReport& report,
                                                bool sharing) = 0;

    // Never blocks. True: there is a session. The position is sent later, unless a newer one comes.
    virtual bool ReportPosition(const Position& position) = 0;

    // The check runs while an operation waits, on its thread. If it returns true, the operation
    // fails within 1 s. Exceptions: Logout, and MeasDeviceDisconnected that begins afterwards, take
    // up to 2 s; Upload up to 4 s if the file changed. An empty check never aborts.
    virtual void SetAbortCheck(std::function<bool()> shouldAbort) = 0;
};

// Makes a connection to the API at `url` (scheme https, host[:port], path). Asks no network. False
// (and a null `*out`) if the URL is unusable. The caller owns the connection.
#if defined(KESDK_BUILDING_LIBRARY)
__attribute__((visibility("default")))
#endif
bool CreateKESDKInstance(IEnterpriseConnection** out, const char* url);

} // namespace kesdk::api
