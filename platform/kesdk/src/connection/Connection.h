// The contract's connection.
#pragma once

#include "account/AccountSnapshot.h"
#include "connection/ApiLine.h"
#include "connection/NotificationDispatcher.h"
#include "connection/PositionSender.h"
#include "connection/ReportPatience.h"
#include "connection/SessionState.h"
#include "connection/SessionThread.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "transfer/Downloads.h"
#include "transfer/Uploads.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace kesdk::impl {

// Keeps what IEnterpriseConnection promises. A login while a session stands replaces it: the old
// one is ended on the service, and the states 1 and then 3 or 4 follow.
//
// Threads: the caller's; beside it one for login and event stream, one for positions, one for the
// listeners. Each of the first three has a line of its own.
class Connection : public api::IEnterpriseConnection
{
public:
    struct Lines
    {
        ApiLine::Parts requests;
        ApiLine::Parts session;
        ApiLine::Parts positions;
    };

    // What outlives the connection.
    struct Lasting
    {
        std::string service;       // where it is
        std::string journalFolder; // for uploads that go on after a restart; empty: none do
    };

    explicit Connection(Lines lines) : Connection(std::move(lines), Lasting()) {}
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
    // One operation of the caller's while it runs.
    struct Operation
    {
        std::int32_t sessionId = 0;
        ApiCall call;
        std::wstring subject; // what it is about, for the operator
    };

    std::optional<Operation> Begin(ECall kind, std::wstring subject = {});
    // These say whether it went well. End then also sends what is owed to the service.
    bool End(const Operation& operation, const Failure& failure);
    bool Conclude(const Operation& operation, Failure failure);
    bool Refuse(const Failure& failure, const std::wstring& subject);
    void Publish(const ResourceChanges& changes);
    std::string Account() const;
    void EndSession(std::int32_t sessionId);
    void TakeLoginFailure(const Failure& failure);
    Result<FileRecord> FindFile(const Operation& operation, std::int64_t fileId);
    // A file that the service does not have is none of ours either.
    Failure NoteIfGone(std::int64_t fileId, Failure failure);
    // False, and an error noted, when the link is not worth another try yet.
    bool LimitPatience(Operation& operation);
    // Sends the environment that the link did not carry when it was reported.
    void SendOwedEnvironment(const Operation& operation);
    bool SendDevice(const Operation& operation, const api::Environment::MeasDeviceReport& report,
                    bool sharing);

    // Ends last: clears what OpenSSL keeps for the caller's thread, which may outlive the caller's
    // interest in it until the process ends, and OpenSSL with it.
    struct CryptoOfTheThread
    {
        CryptoOfTheThread() = default;
        CryptoOfTheThread(const CryptoOfTheThread&) = delete;
        CryptoOfTheThread& operator=(const CryptoOfTheThread&) = delete;
        ~CryptoOfTheThread();
    };
    CryptoOfTheThread m_crypto;

    const std::string m_service;
    AbortCheck m_abort;
    ReportPatience m_devicePatience;
    struct OwedEnvironment
    {
        std::int32_t sessionId;
        api::Environment environment;
    };
    std::optional<OwedEnvironment> m_owedEnvironment;
    xal_list<api::CErrorMsg> m_errors;
    std::mutex m_loginErrorsMutex; // guards m_loginErrors
    xal_list<api::CErrorMsg> m_loginErrors;

    // In this order: what follows uses what stands before it, and ends first.
    NotificationDispatcher m_dispatcher;
    SessionState m_state{m_dispatcher};
    AccountSnapshot m_snapshot;
    ApiLine m_requestLine;
    ApiLine m_sessionLine;
    ApiLine m_positionLine;
    Uploads m_uploads;
    Downloads m_downloads;
    SessionThread m_session;
    PositionSender m_positions;
};

} // namespace kesdk::impl
