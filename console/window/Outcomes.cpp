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
    EHubSignal signal;
    EOutcomeOf operation;
    bool isEnd;
};
constexpr TSignalRow signalRows[] = {
    {EHubSignal::eUploadRequested, EOutcomeOf::eFiles, false},
    {EHubSignal::eDownloadRequested, EOutcomeOf::eFiles, false},
    {EHubSignal::eDeleteFilesRequested, EOutcomeOf::eFiles, false},
    {EHubSignal::eUploadComplete, EOutcomeOf::eFiles, true},
    {EHubSignal::eDownloadComplete, EOutcomeOf::eFiles, true},
    {EHubSignal::eDeleteComplete, EOutcomeOf::eFiles, true},
    {EHubSignal::eUserInboxSetupInProgress, EOutcomeOf::eSetUp, false},
    {EHubSignal::eUserInboxSetupComplete, EOutcomeOf::eSetUp, true},
    {EHubSignal::eLoginInProgress, EOutcomeOf::eMessage, false},
    {EHubSignal::eLoginFailed, EOutcomeOf::eMessage, true},
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
