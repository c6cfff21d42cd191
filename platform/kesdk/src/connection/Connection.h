// The contract's connection.
#pragma once

#include "account/AccountSnapshot.h"
#include "base/LinkBoard.h"
#include "connection/ApiLine.h"
#include "connection/NotificationDispatcher.h"
#include "connection/PositionSender.h"
#include "connection/ReportBackoff.h"
#include "connection/SessionState.h"
#include "connection/SessionThread.h"
#include "connection/UnpackingResults.h"
#include "http/ConsoleFacts.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "transfer/Downloads.h"
#include "transfer/FetchReports.h"
#include "transfer/Uploads.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kesdk::impl {

// Implements IEnterpriseConnection. A login during a session replaces the session. The SDK ends the
// old session on the service. The states 1 and then 3 or 4 follow.
//
// Threads: the caller's; one for login and event stream; one for positions; one for the listeners.
// Each of the first three has its own line to the service.
class Connection : public api::IEnterpriseConnection
{
public:
    struct Lines
    {
        ApiLine::Dependencies requests;
        ApiLine::Dependencies session;
        ApiLine::Dependencies positions;
    };

    // Data that may outlive the connection.
    struct Lasting
    {
        std::string service;              // the service's base URL
        std::string journalFolder;        // for uploads' journals; empty: they lie beside the files
        std::shared_ptr<LinkBoard> board; // empty: the connection makes one
        ConsoleFacts console;
        WallClock ageClock; // for the age of files; empty: the console's clock
    };

    Connection(Lines lines, Lasting lasting);

    bool Login(const std::wstring& userName, const std::wstring& password, const void* reserved,
               std::uint32_t reservedFlags) override;
    bool Logout() override;
    bool IsLoggedIn() override;
    xal_list<api::CErrorMsg> GetLastErrors() override;
    xal_list<api::CErrorMsg> GetLastLoginErrors() override;
    void Subscribe(api::ISubscriable* listener) override;
    void Unsubscribe(api::ISubscriable* listener) override;

    std::vector<api::EnterpriseProject> GetProjects() override;
    std::list<api::EnterpriseResourceWithContent>
    GetProjectResources(std::int64_t projectId) override;
    api::EnterpriseResourceWithContent GetResourceWithContent(std::int64_t resourceId) override;
    api::CurrentUser GetCurrentUser() override;

    bool CreateUserInbox(const std::wstring& projectName) override;
    bool Upload(const wchar_t* localPath, const TargetIds& targetInboxIds) override;
    bool Download(std::int64_t resourceId, const wchar_t* localPath) override;
    bool Delete(std::int64_t resourceId) override;

    bool SendEnvironment(const api::Environment& environment) override;
    bool MeasDeviceConnected(const api::Environment::MeasDeviceReport& report,
                             bool sharing) override;
    std::int32_t MeasDeviceDisconnected(const api::Environment::MeasDeviceReport& report,
                                        bool sharing) override;
    bool ReportPosition(const api::Position& position) override;
    void SetAbortCheck(std::function<bool()> shouldAbort) override;

private:
    // One running operation.
    struct Operation
    {
        std::int32_t sessionId = 0;
        ApiCall call;
        std::wstring subject; // the file or folder, for the operator
    };

    std::optional<Operation> Begin(ECall kind, std::wstring subject = {});
    // Both return whether the operation succeeded. End also sends a pending report.
    bool End(const Operation& operation, const Failure& failure);
    bool Conclude(const Operation& operation, Failure failure);
    bool Refuse(const Failure& failure, const std::wstring& subject);
    std::string Account() const;
    // Returns whether the session was still current.
    bool EndSession(std::int32_t sessionId);
    void TakeLoginFailure(const Failure& failure);
    Result<FileRecord> FindFile(const Operation& operation, std::int64_t fileId);
    // Removes a file from the snapshot if the service no longer has it.
    Failure NoteIfGone(std::int64_t fileId, const Failure& failure);
    // If there are fetches to report, the sender sends them when the link is idle.
    void ReportFetches(const PositionSender::Sender& sender);
    // From any thread.
    void NoteUnpacking(const char* path, const char* errorUtf8);
    // False, with an error record, during the pause.
    bool ApplyReportBackoff(Operation& operation);
    // Sends the environment report that an earlier link failure left pending.
    void SendPendingReport(const Operation& operation);
    class Transferring;
    bool SendDevice(const Operation& operation, const api::Environment::MeasDeviceReport& report,
                    bool sharing);

    // Destroyed last. Frees OpenSSL's data of the caller's thread, because this thread may end
    // after OpenSSL's own clean-up.
    struct CryptoOfTheThread
    {
        ~CryptoOfTheThread();
    };
    CryptoOfTheThread m_crypto;

    const std::string m_service;
    const std::shared_ptr<LinkBoard> m_board;
    AbortCheck m_abort;
    struct PendingReport
    {
        std::int32_t sessionId;
        api::Environment environment;
    };
    std::optional<PendingReport> m_pendingReport;
    xal_list<api::CErrorMsg> m_errors;
    std::mutex m_loginErrorsMutex; // guards m_loginErrors
    xal_list<api::CErrorMsg> m_loginErrors;

    // The order matters: a member uses the members before it, and is destroyed before them.
    NotificationDispatcher m_dispatcher;
    SessionState m_state{m_dispatcher, *m_board};
    AccountSnapshot m_snapshot;
    ApiLine m_requestLine;
    ReportBackoff m_reportBackoff{m_requestLine.Timing()};
    ApiLine m_sessionLine;
    ApiLine m_positionLine;
    Uploads m_uploads;
    Downloads m_downloads;
    FetchReports m_fetches;
    SessionThread m_session;
    PositionSender m_positions;
    const UnpackingResults m_unpackingResults;
};

} // namespace kesdk::impl
