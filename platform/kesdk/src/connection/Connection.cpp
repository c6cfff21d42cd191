// The connection's session, errors and listeners.
#include "connection/Connection.h"

#include "connection/ErrorTexts.h"

#include <openssl/crypto.h>

#include <utility>

namespace kesdk::impl {

Connection::CryptoOfTheThread::~CryptoOfTheThread()
{
    OPENSSL_thread_stop();
}

namespace {

WallClock AgeClock(const Connection::Lasting& lasting)
{
    return lasting.ageClock ? lasting.ageClock : lasting.console.wallTimeS;
}

} // namespace

Connection::Connection(Lines lines, Lasting lasting)
    : m_service(std::move(lasting.service)),
      m_board(lasting.board ? std::move(lasting.board) : std::make_shared<LinkBoard>()),
      m_requestLine(std::move(lines.requests), *m_board),
      m_sessionLine(std::move(lines.session), *m_board),
      m_positionLine(std::move(lines.positions), *m_board),
      m_uploads(m_requestLine.Api(), m_requestLine.Timing(), lasting.journalFolder,
                AgeClock(lasting)),
      m_downloads(m_requestLine.Api(), m_requestLine.Timing(), AgeClock(lasting)),
      m_fetches(lasting.journalFolder, m_requestLine.Timing(), lasting.console.wallTimeS,
                AgeClock(lasting), lasting.console.asleep),
      m_session({m_sessionLine.Api(), m_sessionLine.Timing(), m_state, m_snapshot, m_dispatcher,
                 [this](const Failure& failure) { TakeLoginFailure(failure); }}),
      m_positions(m_positionLine, m_fetches, [this](std::int32_t id) { return EndSession(id); }),
      m_unpackingResults(
          [this](const char* path, const char* errorUtf8) { NoteUnpacking(path, errorUtf8); })
{}

bool Connection::Login(const std::wstring& userName, const std::wstring& password, const void*,
                       std::uint32_t)
{
    m_errors.clear();
    const std::optional<SessionState::NewLogin> login = m_state.Begin();
    if (!login)
        return true;
    {
        // The earlier login has ended, and the new one has not begun.
        const std::lock_guard lock(m_loginErrorsMutex);
        m_loginErrors.clear();
    }
    m_reportBackoff.Restore();
    m_positions.Clear();
    m_session.Start({login->id, userName, password, login->replacedToken});
    return true;
}

bool Connection::Logout()
{
    m_errors.clear();
    const SessionState::Ended ended = m_state.End();
    if (!ended.wasActive)
        return Refuse(Failure(EErrorCode::eNotLoggedIn), {});
    m_session.Wake();
    m_positions.Clear();
    m_snapshot.Clear();
    if (ended.token.empty())
        return true; // a login was cancelled
    ApiCall call;
    call.token = ended.token;
    call.policy = PolicyOf(ECall::eLogout);
    static_cast<void>(m_requestLine.Api().LogOut(call)); // the session has ended here in any case
    return true;
}

bool Connection::IsLoggedIn()
{
    return m_state.Current().id != 0;
}

xal_list<api::CErrorMsg> Connection::GetLastErrors()
{
    return m_errors;
}

xal_list<api::CErrorMsg> Connection::GetLastLoginErrors()
{
    const std::lock_guard lock(m_loginErrorsMutex);
    return m_loginErrors;
}

void Connection::Subscribe(api::ISubscriable* listener)
{
    m_dispatcher.Subscribe(listener);
}

void Connection::Unsubscribe(api::ISubscriable* listener)
{
    m_dispatcher.Unsubscribe(listener);
}

void Connection::SetAbortCheck(std::function<bool()> shouldAbort)
{
    m_abort = std::move(shouldAbort);
}

std::optional<Connection::Operation> Connection::Begin(ECall kind, std::wstring subject)
{
    m_errors.clear();
    const SessionKey session = m_state.Current();
    if (session.id == 0) {
        Refuse(Failure(m_state.WasLost() ? EErrorCode::eSessionEnded : EErrorCode::eNotLoggedIn),
               {});
        return std::nullopt;
    }
    Operation operation{session.id, {}, std::move(subject)};
    operation.call.token = session.token;
    operation.call.account = Account();
    operation.call.abort = [this, id = session.id, abort = m_abort] {
        return m_state.Current().id != id || IsAborted(abort);
    };
    operation.call.report = TransferReport(*m_board);
    operation.call.policy = PolicyOf(kind);
    return operation;
}

// Empty if the service or the user is unknown.
std::string Connection::Account() const
{
    const std::int64_t user = m_snapshot.User().id;
    return m_service.empty() || user == 0 ? std::string() : m_service + '\n' + std::to_string(user);
}

bool Connection::End(const Operation& operation, const Failure& failure)
{
    const bool isGood = Conclude(operation, failure);
    if (isGood)
        SendPendingReport(operation);
    return isGood;
}

bool Connection::Conclude(const Operation& operation, Failure failure)
{
    if (failure.Is(EErrorCode::eSessionEnded))
        EndSession(operation.sessionId);
    else if (failure.Is(EErrorCode::eAborted) && m_state.Current().id != operation.sessionId)
        failure.code = EErrorCode::eSessionEnded; // the event stream reported the end first
    // Each caller has sent a request: the service was reached.
    if (!failure.IsSet()) {
        m_reportBackoff.Restore();
        if (m_state.IsLinkLost())
            m_session.ReconnectNow();
        ReportFetches({operation.sessionId, operation.call.token, operation.call.account});
    }
    return !failure.IsSet() || Refuse(failure, operation.subject);
}

bool Connection::Refuse(const Failure& failure, const std::wstring& subject)
{
    m_errors.push_front(Describe(failure, subject));
    return false;
}

// Thread: the caller's, or the positions'.
bool Connection::EndSession(std::int32_t sessionId)
{
    const bool wasCurrent = m_state.Lost(sessionId);
    m_sessionLine.Api().Wake();
    return wasCurrent;
}

// Thread: the session's.
void Connection::TakeLoginFailure(const Failure& failure)
{
    const std::lock_guard lock(m_loginErrorsMutex);
    m_loginErrors.push_front(Describe(failure, {}));
}

} // namespace kesdk::impl
