#include "console/headless/THeadlessRunner.h"

#include "console/headless/SignalPrinter.h"
#include "core/TKelvoInterface.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

} // namespace

namespace console {

THeadlessRunner::THeadlessRunner(TKelvoInterface& hub, TRunnerCallbacks callbacks, int timeoutMs)
    : m_hub(hub), m_callbacks(std::move(callbacks))
{
    m_timeout.setSingleShot(true);
    m_timeout.setInterval(timeoutMs);
    connect(&m_timeout, &QTimer::timeout, this, &THeadlessRunner::OnTimeout);
}

void THeadlessRunner::AddLine(const QString& line)
{
    m_lines.enqueue(line);
    RunNextSoon();
}

void THeadlessRunner::AddEnd()
{
    m_hasEnd = true;
    RunNextSoon();
}

void THeadlessRunner::OnHubEvent(const THubEvent& event)
{
    m_callbacks.print(SignalLine(event));
    ++m_unseenSignals[static_cast<std::size_t>(event.signal)];
    if (!IsEndOfTimedOut(event) && m_operation) {
        m_operation->Follow(event);
    }
    // Not directly from the hub's signal: further signals may belong to the same report.
    if (!m_isProgressPosted) {
        m_isProgressPosted = true;
        QTimer::singleShot(0, this, &THeadlessRunner::OnProgress);
    }
}

// The worker runs its operations in the order of the requests: the first request ends first.
bool THeadlessRunner::IsEndOfTimedOut(const THubEvent& event)
{
    for (auto operation = m_timedOut.begin(); operation != m_timedOut.end(); ++operation) {
        operation->Follow(event);
        if (operation->HasEnded()) {
            m_timedOut.erase(operation);
            return true;
        }
    }
    return false;
}

void THeadlessRunner::RunNextSoon()
{
    if (!m_isNextPosted) {
        m_isNextPosted = true;
        QTimer::singleShot(0, this, &THeadlessRunner::RunNext);
    }
}

void THeadlessRunner::RunNext()
{
    m_isNextPosted = false;
    if (m_isFinished || m_waiting != EWaiting::eNone) {
        return;
    }
    if (m_lines.isEmpty()) {
        if (m_hasEnd) {
            Finish();
        }
        return;
    }
    TCommand command;
    QString errorText;
    if (ParseCommand(m_lines.dequeue(), command, errorText)) {
        Run(command);
    } else {
        m_exitStatus = exitUsage;
        Fail(command.verb, errorText);
    }
    RunNextSoon();
}

void THeadlessRunner::Run(const TCommand& command)
{
    switch (command.verb) {
    case EVerb::eNone:
        break;
    case EVerb::eLogin:
    case EVerb::eLogout:
    case EVerb::eUpload:
    case EVerb::eDownload:
    case EVerb::eDelete:
        BeginOperation(command);
        break;
    case EVerb::eList:
        m_callbacks.print(
            ListLine(command.project, m_hub.GetKelvoProjectFilesList(command.project)));
        Succeed(command.verb);
        break;
    case EVerb::eCancel:
        m_hub.OnCancelCurrentOperationRequested();
        Succeed(command.verb);
        break;
    case EVerb::eWait:
        BeginWait(command);
        break;
    case EVerb::eStatus:
        m_callbacks.print(StatusLine(m_hub));
        Succeed(command.verb);
        break;
    case EVerb::eLink:
        m_callbacks.print(m_callbacks.linkLine());
        Succeed(command.verb);
        break;
    case EVerb::ePosition:
        m_callbacks.print(m_callbacks.positionLine());
        Succeed(command.verb);
        break;
    case EVerb::eQuit:
        Succeed(command.verb);
        Finish();
        break;
    }
}

// One operation at a time, as on the screens.
void THeadlessRunner::BeginOperation(const TCommand& command)
{
    if (m_operation || m_hub.IsKelvoFileOperationInProgress()) {
        Fail(command.verb, QStringLiteral("another operation is running"));
        return;
    }
    m_unseenSignals = {};
    m_operation.emplace(command, m_hub.IsKelvoLoggedIn());
    if (command.isBackground) {
        m_callbacks.print("started " + VerbName(command.verb).toUtf8());
    } else {
        WaitFor(EWaiting::eRunningCommand);
    }
    Request(command);
}

void THeadlessRunner::Request(const TCommand& command)
{
    switch (command.verb) {
    case EVerb::eLogin:
        m_hub.OnLoginToKelvoRequested();
        break;
    case EVerb::eLogout:
        m_hub.OnLogoutFromKelvoRequested();
        break;
    case EVerb::eUpload:
        m_hub.OnUploadToKelvoRequested(command.project, command.fileNames);
        break;
    case EVerb::eDownload:
        m_hub.OnDownloadFromKelvoRequested(command.project, command.fileNames);
        break;
    case EVerb::eDelete:
        m_hub.OnDeleteFilesRequested(command.project, command.fileNames);
        break;
    case EVerb::eNone:
    case EVerb::eList:
    case EVerb::eCancel:
    case EVerb::eWait:
    case EVerb::eStatus:
    case EVerb::eLink:
    case EVerb::ePosition:
    case EVerb::eQuit:
        break;
    }
}

void THeadlessRunner::BeginWait(const TCommand& command)
{
    m_awaitedSignals = command.signalsToAwait;
    WaitFor(m_awaitedSignals.isEmpty() ? EWaiting::eWaitCommand : EWaiting::eWaitSignals);
    OnProgress();
}

// Each `wait` uses up its signals: the next `wait` waits for new signals.
bool THeadlessRunner::HasReceivedAwaitedSignals()
{
    auto unseen = m_unseenSignals;
    for (const EHubSignal signal : qAsConst(m_awaitedSignals)) {
        if (--unseen[static_cast<std::size_t>(signal)] < 0) {
            return false;
        }
    }
    m_unseenSignals = unseen;
    return true;
}

void THeadlessRunner::OnProgress()
{
    m_isProgressPosted = false;
    if (m_isFinished) {
        return;
    }
    if (m_operation && m_operation->HasEnded()) {
        const TOperation ended = *m_operation;
        m_operation.reset();
        if (ended.Failure().isEmpty()) {
            Succeed(ended.Verb());
        } else {
            Fail(ended.Verb(), ended.Failure());
        }
        if (m_waiting == EWaiting::eRunningCommand) {
            WaitFor(EWaiting::eNone);
        }
    }
    const bool isWaitOver = (m_waiting == EWaiting::eWaitCommand && !m_operation) ||
                            (m_waiting == EWaiting::eWaitSignals && HasReceivedAwaitedSignals());
    if (isWaitOver) {
        Succeed(EVerb::eWait);
        WaitFor(EWaiting::eNone);
    }
    RunNextSoon();
}

void THeadlessRunner::OnTimeout()
{
    OnProgress(); // signals that arrived before the timeout count
    if (m_waiting == EWaiting::eNone) {
        return;
    }
    const QString after = QStringLiteral("timed out after %1 s").arg(m_timeout.interval() / 1000);
    if (m_waiting == EWaiting::eRunningCommand) {
        Fail(m_operation->Verb(), after + QLatin1String(": ") + m_operation->Missing());
        if (m_operation->IsOnFiles()) {
            m_timedOut.push_back(*m_operation);
        }
        m_operation.reset();
    } else {
        Fail(EVerb::eWait, after);
    }
    WaitFor(EWaiting::eNone);
    RunNextSoon();
}

void THeadlessRunner::WaitFor(EWaiting waiting)
{
    m_waiting = waiting;
    if (waiting == EWaiting::eNone) {
        m_timeout.stop();
    } else {
        m_timeout.start();
    }
}

void THeadlessRunner::Succeed(EVerb verb)
{
    m_callbacks.print("ok " + VerbName(verb).toUtf8());
}

void THeadlessRunner::Fail(EVerb verb, const QString& reason)
{
    m_exitStatus = std::max(m_exitStatus, exitFailed);
    const QString command = verb == EVerb::eNone ? QStringLiteral("line") : VerbName(verb);
    m_callbacks.print("FAILED " + command.toUtf8() + ": " + reason.toUtf8());
}

void THeadlessRunner::Finish()
{
    m_isFinished = true;
    if (m_operation) {
        Fail(m_operation->Verb(), QStringLiteral("not finished at the end of the script"));
    }
    m_callbacks.finished(m_exitStatus);
}

} // namespace console
