#include "console/window/TOperationView.h"

#include "console/window/TransferTexts.h"
#include "hostimpl/Unpacking.h"

#include <utility>

using hostimpl::EOutcome;
using hostimpl::EOutcomeOf;

namespace {

using console::EHubSignal;

struct TSignalRow
{
    EOutcomeOf operation;
    EHubSignal signal;
    bool isEnd;
};
constexpr TSignalRow signalRows[] = {
    {EOutcomeOf::eFiles, EHubSignal::eUploadRequested, false},
    {EOutcomeOf::eFiles, EHubSignal::eDownloadRequested, false},
    {EOutcomeOf::eFiles, EHubSignal::eDeleteFilesRequested, false},
    {EOutcomeOf::eFiles, EHubSignal::eUploadComplete, true},
    {EOutcomeOf::eFiles, EHubSignal::eDownloadComplete, true},
    {EOutcomeOf::eFiles, EHubSignal::eDeleteComplete, true},
    {EOutcomeOf::eSetUp, EHubSignal::eUserInboxSetupInProgress, false},
    {EOutcomeOf::eSetUp, EHubSignal::eUserInboxSetupComplete, true},
    {EOutcomeOf::eMessage, EHubSignal::eLoginInProgress, false},
    {EOutcomeOf::eMessage, EHubSignal::eLoginFailed, true},
};

} // namespace

namespace console {

TOperationView::TOperationView()
{
    hostimpl::ObserveCancel([this] { m_files.NoteCancel(); });
}

TOperationView::~TOperationView()
{
    hostimpl::ObserveCancel({});
}

void TOperationView::OnHubEvent(const THubEvent& event)
{
    m_files.OnHubEvent(event);
    for (const TSignalRow& row : signalRows) {
        if (row.signal != event.signal) {
            continue;
        }
        hostimpl::SetOutcome(row.operation,
                             row.isEnd ? Outcome(row.operation, event) : EOutcome::eNone);
        if (row.operation == EOutcomeOf::eFiles) {
            const QStringList withoutSpace = hostimpl::TakeArchivesWithoutSpace();
            m_result = row.isEnd ? ResultState(m_files, withoutSpace) : std::nullopt;
        }
    }
}

// An operation that was cancelled before its last file has no outcome.
EOutcome TOperationView::Outcome(EOutcomeOf operation, const THubEvent& event) const
{
    const bool hasFailed =
        (event.errors && !event.errors->isEmpty()) || event.signal == EHubSignal::eLoginFailed;
    const bool isWhole = operation != EOutcomeOf::eFiles || m_files.Current() == m_files.Count();
    return hasFailed ? EOutcome::eFailed : isWhole ? EOutcome::eGood : EOutcome::eNone;
}

// The numbers of a moving transfer change with each poll. Drawing costs time, so only every second
// poll draws them. Between two files or archives the bar and the dialogs keep what they show, so
// that they do not flicker. If the next poll finds no work either, the old state is no longer true.
std::optional<TStatusWords> TOperationView::Show(const kesdkimpl::LinkStatus& status)
{
    const bool isMoving = status.transfer && status.transfer->phase == kesdkimpl::EPhase::eMoves;
    m_isMoveDrawn = isMoving && !m_isMoveDrawn;
    if (isMoving && !m_isMoveDrawn) {
        return std::nullopt;
    }
    const bool isRunning = m_files.IsRunning();
    const QString archive = isRunning ? hostimpl::ArchiveInUnpacking() : QString();
    const bool isWorking = status.transfer || !archive.isEmpty();
    const bool wasWorking = std::exchange(m_isWorking, isWorking);
    if (isRunning && wasWorking && !isWorking && status.problem == kesdkimpl::EProblem::eNone) {
        return std::nullopt;
    }
    if (status.transfer) {
        hostimpl::SetTransferProgress(TransferProgress(status, m_files));
        return TransferWords(status, m_files);
    }
    hostimpl::SetTransferProgress(isRunning ? WorkProgress(status, archive, m_files) : m_result);
    return WorkWords(status, archive);
}

} // namespace console
