// Runs the commands of a script on the plug-in's hub.
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

THeadlessRunner::THeadlessRunner(TKelvoInterface& hub, TRunnerSeams seams, int timeoutMs)
    : m_hub(hub), m_seams(std::move(seams))
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
    m_seams.print(SignalLine(event));
    ++m_unseenSignals[static_cast<std::size_t>(event.signal)];
    if (!IsEndOfForgotten(event) && m_operation) {
        m_operation->Follow(event);
    }
    // Not from within the hub's emission: further signals may belong to the same report.
    if (!m_isProgressPosted) {
        m_isProgressPosted = true;
        QTimer::singleShot(0, this, &THeadlessRunner::OnProgress);
    }
}

// The worker does one thing after the other: the end of what it was told first comes first.
bool THeadlessRunner::IsEndOfForgotten(const THubEvent& event)
{
    for (auto operation = m_forgotten.begin(); operation != m_forgotten.end(); ++operation) {
        operation->Follow(event);
        if (operation->HasEnded()) {
            m_forgotten.erase(operation);
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
    if (m_isFinished || m_waiting != EWaiting::eNot) {
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
        m_seams.print(ListLine(command.project, m_hub.GetKelvoProjectFilesList(command.project)));
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
        m_seams.print(StatusLine(m_hub));
        Succeed(command.verb);
        break;
    case EVerb::ePosition:
        m_seams.print(m_seams.positionLine());
        Succeed(command.verb);
        break;
    case EVerb::eQuit:
        Succeed(command.verb);
        Finish();
        break;
    }
}

// One at a time, as the screens have it: they are busy while the hub is.
void THeadlessRunner::BeginOperation(const TCommand& command)
{
    if (m_operation || m_hub.IsKelvoFileOperationInProgress()) {
        Fail(command.verb, QStringLiteral("another operation is running"));
        return;
    }
    m_unseenSignals = {};
    m_operation.emplace(command, m_hub.IsKelvoLoggedIn());
    if (command.isBackground) {
        m_seams.print("started " + VerbName(command.verb).toUtf8());
    } else {
        WaitFor(EWaiting::eOperation);
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
    case EVerb::ePosition:
    case EVerb::eQuit:
        break;
    }
}

void THeadlessRunner::BeginWait(const TCommand& command)
{
    m_awaitedSignals = command.signalsToAwait;
    WaitFor(m_awaitedSignals.isEmpty() ? EWaiting::eForOperation : EWaiting::eForSignals);
    OnProgress();
}

// Each wait uses up the signals it was for, so that the next one waits for the next ones.
bool THeadlessRunner::HaveAwaitedSignalsCome()
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
        if (m_waiting == EWaiting::eOperation) {
            WaitFor(EWaiting::eNot);
        }
    }
    const bool isWaitOver = (m_waiting == EWaiting::eForOperation && !m_operation) ||
                            (m_waiting == EWaiting::eForSignals && HaveAwaitedSignalsCome());
    if (isWaitOver) {
        Succeed(EVerb::eWait);
        WaitFor(EWaiting::eNot);
    }
    RunNextSoon();
}

void THeadlessRunner::OnTimeout()
{
    OnProgress(); // what has come by now came in time
    if (m_waiting == EWaiting::eNot) {
        return;
    }
    const QString after = QStringLiteral("timed out after %1 s").arg(m_timeout.interval() / 1000);
    if (m_waiting == EWaiting::eOperation) {
        Fail(m_operation->Verb(), after + QLatin1String(": ") + m_operation->Missing());
        if (m_operation->IsOnFiles()) {
            m_forgotten.push_back(*m_operation);
        }
        m_operation.reset();
    } else {
        Fail(EVerb::eWait, after);
    }
    WaitFor(EWaiting::eNot);
    RunNextSoon();
}

void THeadlessRunner::WaitFor(EWaiting waiting)
{
    m_waiting = waiting;
    if (waiting == EWaiting::eNot) {
        m_timeout.stop();
    } else {
        m_timeout.start();
    }
}

void THeadlessRunner::Succeed(EVerb verb)
{
    m_seams.print("ok " + VerbName(verb).toUtf8());
}

void THeadlessRunner::Fail(EVerb verb, const QString& reason)
{
    m_exitStatus = std::max(m_exitStatus, exitFailed);
    const QString command = verb == EVerb::eNone ? QStringLiteral("line") : VerbName(verb);
    m_seams.print("FAILED " + command.toUtf8() + ": " + reason.toUtf8());
}

void THeadlessRunner::Finish()
{
    m_isFinished = true;
    if (m_operation) {
        Fail(m_operation->Verb(), QStringLiteral("abandoned at the end of the script"));
    }
    m_seams.finished(m_exitStatus);
}

} // namespace console
