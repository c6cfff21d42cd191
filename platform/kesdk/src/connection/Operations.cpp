// The connection's operations.
#include "connection/Connection.h"

#include "base/Text.h"
#include "transfer/Paths.h"

#include <utility>

namespace kesdk::impl {

namespace {

// Converts a service's record into the contract's.
api::EnterpriseResourceWithContent ToContract(const ResourceRecord& record)
{
    AccountSnapshot one;
    AccountRecord account;
    if (const auto* project = std::get_if<ProjectRecord>(&record))
        account.projects = {*project};
    else if (const auto* inbox = std::get_if<InboxRecord>(&record))
        account.projects = {{inbox->projectId, {}, {*inbox}}};
    else if (const auto* file = std::get_if<FileRecord>(&record))
        account.projects = {{0, {}, {{file->containerId, 0, {}, 0, {*file}}}}};
    one.Replace(std::move(account));
    return one.Resource(IdOf(record)).value_or(api::EnterpriseResourceWithContent());
}

} // namespace

// Ends the transfer at the end of the scope, on the board and for the reports that wait for an idle
// link.
class Connection::Transferring
{
public:
    explicit Transferring(Connection& connection) : m_connection(connection)
    {
        m_connection.m_positions.SetTransferring(true);
    }
    ~Transferring()
    {
        m_connection.m_board->EndTransfer();
        m_connection.m_positions.SetTransferring(false);
    }
    Transferring(const Transferring&) = delete;
    Transferring& operator=(const Transferring&) = delete;

private:
    Connection& m_connection;
};

std::vector<api::EnterpriseProject> Connection::GetProjects()
{
    return Begin(ECall::eGetter) ? m_snapshot.Projects() : std::vector<api::EnterpriseProject>();
}

std::list<api::EnterpriseResourceWithContent>
Connection::GetProjectResources(std::int64_t projectId)
{
    const std::optional<Operation> operation = Begin(ECall::eGetter);
    if (!operation)
        return {};
    if (auto known = m_snapshot.ProjectResources(projectId))
        return std::move(*known);
    const Result<ProjectRecord> fetched =
        m_requestLine.Api().GetProjectResources(operation->call, projectId);
    if (!End(*operation, fetched.failure))
        return {};
    AccountSnapshot one;
    one.Replace({{}, {}, {fetched.value}});
    return one.ProjectResources(projectId).value_or(
        std::list<api::EnterpriseResourceWithContent>());
}

api::EnterpriseResourceWithContent Connection::GetResourceWithContent(std::int64_t resourceId)
{
    m_errors.clear();
    if (auto known = m_snapshot.Resource(resourceId))
        return std::move(*known);
    const std::optional<Operation> operation = Begin(ECall::eGetter);
    if (!operation)
        return {};
    const Result<ResourceRecord> fetched =
        m_requestLine.Api().GetResource(operation->call, resourceId);
    if (!End(*operation, fetched.failure))
        return {};
    return ToContract(fetched.value);
}

api::CurrentUser Connection::GetCurrentUser()
{
    return Begin(ECall::eGetter) ? m_snapshot.User() : api::CurrentUser();
}

bool Connection::CreateUserInbox(const std::wstring& projectName)
{
    const std::optional<Operation> operation = Begin(ECall::eChange, projectName);
    if (!operation)
        return false;
    if (m_snapshot.HasOwnInbox(projectName))
        return true; // inboxes are never removed
    const Result<InboxRecord> inbox =
        m_requestLine.Api().CreateUserInbox(operation->call, projectName);
    if (inbox)
        m_dispatcher.Post(m_snapshot.ApplyOwnInbox(inbox.value));
    return End(*operation, inbox.failure.NotFoundAs(EErrorCode::eFolderGone));
}

bool Connection::Upload(const wchar_t* localPath, const TargetIds& targetInboxIds)
{
    const std::wstring path = localPath ? localPath : L"";
    const std::optional<Operation> operation = Begin(ECall::eContent, NameOf(path));
    if (!operation)
        return false;
    if (path.empty() || targetInboxIds.empty())
        return End(*operation, Failure(EErrorCode::eInvalidArgument, "no file or no target"));
    const Transferring transferring(*this);
    const std::uint64_t generation = m_snapshot.Generation();
    const Result<Uploads::UploadState> sent =
        m_uploads.Send(operation->call, ToUtf8(path),
                       std::vector<std::int64_t>(targetInboxIds.begin(), targetInboxIds.end()));
    if (!sent)
        return Conclude(*operation, sent.failure.NotFoundAs(EErrorCode::eFolderGone));
    // The report precedes the last check of the file: the caller removes the file soon after it.
    SendPendingReport(*operation);
    const Result<std::vector<FileRecord>> files = m_uploads.Confirm(operation->call, sent.value);
    if (files)
        m_dispatcher.Post(m_snapshot.ApplyOwnUpload(files.value, generation));
    return Conclude(*operation, files.failure);
}

bool Connection::Download(std::int64_t resourceId, const wchar_t* localPath)
{
    const std::wstring path = localPath ? localPath : L"";
    std::optional<Operation> operation = Begin(ECall::eContent, NameOf(path));
    if (!operation)
        return false;
    if (path.empty())
        return End(*operation, Failure(EErrorCode::eInvalidArgument, "no path"));
    const Result<FileRecord> file = FindFile(*operation, resourceId);
    if (!file)
        return End(*operation, NoteIfGone(resourceId, file.failure));
    operation->subject = file.value.name;
    const Transferring transferring(*this);
    const Failure failure = m_downloads.Fetch(operation->call, file.value, ToUtf8(path));
    if (!failure.IsSet())
        m_fetches.Note(operation->call.account, resourceId, ToUtf8(path));
    return End(*operation, NoteIfGone(resourceId, failure));
}

bool Connection::Delete(std::int64_t resourceId)
{
    std::optional<Operation> operation = Begin(ECall::eChange);
    if (!operation)
        return false;
    const std::optional<FileRecord> file = m_snapshot.File(resourceId);
    if (file)
        operation->subject = file->name;
    const Failure failure = m_requestLine.Api().DeleteFile(operation->call, resourceId,
                                                           file ? file->etag : std::string());
    if (!failure.IsSet())
        m_dispatcher.Post(m_snapshot.ApplyOwnDelete(resourceId));
    return End(*operation, NoteIfGone(resourceId, failure));
}

bool Connection::SendEnvironment(const api::Environment& environment)
{
    const std::optional<Operation> operation = Begin(ECall::eGetter);
    if (!operation)
        return false;
    m_pendingReport.reset();
    const Failure failure = m_requestLine.Api().PutEnvironment(operation->call, environment);
    // If this call failed, the caller would not list anything. The snapshot has everything that the
    // caller asks next, so neither a lost link nor a service in trouble fails this call. Nor does a
    // refused report: the service refuses each report of a clock that is more than a day ahead.
    if (failure.Is(EErrorCode::eRefusedByService, EErrorCode::eTooLarge))
        return End(*operation, {});
    if (!MayPass(failure) && !failure.Is(EErrorCode::eServiceError, EErrorCode::eServiceFull))
        return End(*operation, failure);
    m_pendingReport = PendingReport{operation->sessionId, environment};
    return true;
}

// The service was reached just now, so this attempt is short. If the failure may pass, the report
// stays pending.
void Connection::SendPendingReport(const Operation& operation)
{
    if (!m_pendingReport || IsAborted(m_abort))
        return;
    const std::optional<PendingReport> pending = std::exchange(m_pendingReport, std::nullopt);
    if (pending->sessionId != operation.sessionId)
        return;
    ApiCall call;
    call.token = operation.call.token;
    call.abort = m_abort;
    call.policy = PolicyOf(ECall::eShortReport);
    if (MayPass(m_requestLine.Api().PutEnvironment(call, pending->environment)))
        m_pendingReport = pending;
}

bool Connection::MeasDeviceConnected(const api::Environment::MeasDeviceReport& report, bool sharing)
{
    std::optional<Operation> operation = Begin(ECall::eGetter);
    return operation && ApplyReportBackoff(*operation) && SendDevice(*operation, report, sharing);
}

// Part of an orderly end: if the caller is about to end, this report and the logout still have 2 s
// each.
std::int32_t Connection::MeasDeviceDisconnected(const api::Environment::MeasDeviceReport& report,
                                                bool sharing)
{
    std::optional<Operation> operation = Begin(ECall::eGetter);
    if (!operation)
        return 0;
    if (m_abort && m_abort()) {
        operation->call.abort = nullptr;
        operation->call.policy = PolicyOf(ECall::eShortReport);
    } else if (!ApplyReportBackoff(*operation)) {
        return 0;
    }
    return SendDevice(*operation, report, sharing) ? 1 : 0;
}

bool Connection::ApplyReportBackoff(Operation& operation)
{
    m_reportBackoff.NoteStream(m_state.IsLinkLost());
    if (!m_reportBackoff.IsShort())
        return true;
    operation.call.policy = PolicyOf(ECall::eShortReport);
    return !m_reportBackoff.IsPausing() ||
           Refuse(
               Failure(EErrorCode::eUnreachable, "not sent: the last report failed a moment ago"),
               {});
}

bool Connection::SendDevice(const Operation& operation,
                            const api::Environment::MeasDeviceReport& report, bool sharing)
{
    const Failure failure = m_reportBackoff.Send(
        [&] { return m_requestLine.Api().PutDevice(operation.call, report, sharing); });
    return End(operation, failure);
}

bool Connection::ReportPosition(const api::Position& position)
{
    const std::optional<Operation> operation = Begin(ECall::eGetter);
    if (!operation)
        return false;
    m_positions.Put(position,
                    {operation->sessionId, operation->call.token, operation->call.account});
    return true;
}

void Connection::ReportFetches(const PositionSender::Sender& sender)
{
    if (m_state.IsCurrent(sender.sessionId) && m_fetches.HasAny(sender.account))
        m_positions.SendFetchesWhenIdle(sender);
}

void Connection::NoteUnpacking(const char* path, const char* errorUtf8)
{
    const SessionKey session = m_state.Current();
    m_fetches.NoteUnpacking(path, errorUtf8);
    ReportFetches({session.id, session.token, Account()});
}

Result<FileRecord> Connection::FindFile(const Operation& operation, std::int64_t fileId)
{
    if (std::optional<FileRecord> known = m_snapshot.File(fileId))
        return std::move(*known);
    ApiCall call = operation.call;
    call.policy = PolicyOf(ECall::eGetter);
    Result<ResourceRecord> fetched = m_requestLine.Api().GetResource(call, fileId);
    if (!fetched)
        return fetched.failure;
    auto* file = std::get_if<FileRecord>(&fetched.value);
    return file ? Result<FileRecord>(std::move(*file))
                : Failure(EErrorCode::eInvalidArgument, "the resource is not a file");
}

Failure Connection::NoteIfGone(std::int64_t fileId, const Failure& failure)
{
    if (failure.Is(EErrorCode::eNotFound, EErrorCode::eFileGone) && failure.httpStatus == 404)
        m_dispatcher.Post(m_snapshot.ApplyOwnDelete(fileId));
    return failure.NotFoundAs(EErrorCode::eFileGone);
}

} // namespace kesdk::impl
