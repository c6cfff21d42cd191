#include "console/window/Outcomes.h"

#include "console/session/HubEvent.h"
#include "console/session/TFileCount.h"
#include "hostimpl/Outcome.h"

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

void console::ShowOutcome(const THubEvent& event, const TFileCount& files)
{
    for (const TSignalRow& row : signalRows) {
        if (row.signal != event.signal) {
            continue;
        }
        const bool hasFailed =
            (event.errors && !event.errors->isEmpty()) || event.signal == EHubSignal::eLoginFailed;
        const bool isWhole =
            row.operation != EOutcomeOf::eFiles || files.Current() == files.Count();
        hostimpl::SetOutcome(row.operation, !row.isEnd  ? EOutcome::eNone
                                            : hasFailed ? EOutcome::eFailed
                                            : isWhole   ? EOutcome::eGood
                                                        : EOutcome::eNone);
    }
}
