// The texts and signs of an upload, a download or a deletion on the screens.
#pragma once

#include "console/session/TFileCount.h"
#include "console/window/StatusTexts.h"
#include "hostimpl/Outcome.h"
#include "hostimpl/TransferProgress.h"
#include "kesdkimpl/LinkStatus.h"

#include <optional>

namespace console {

// Follows an operation from its request to its end, by the hub's signals and the dialogs' "Cancel".
// Tells the dialogs its progress and its outcome. A set-up and a login have an outcome too.
// Thread: main. One object at a time.
class TOperationView
{
public:
    TOperationView();
    ~TOperationView();
    TOperationView(const TOperationView&) = delete;
    TOperationView& operator=(const TOperationView&) = delete;

    void OnHubEvent(const THubEvent& event);
    // Draws the progress in the dialogs. Returns the words for the status bar. Empty: the bar and
    // the dialogs keep what they show. Call it at each poll of the status.
    std::optional<TStatusWords> Show(const kesdkimpl::LinkStatus& status);
    bool IsRunning() const { return m_files.IsRunning(); }

private:
    hostimpl::EOutcome Outcome(hostimpl::EOutcomeOf operation, const THubEvent& event) const;

    TFileCount m_files;
    std::optional<hostimpl::TTransferState> m_result; // of the last operation
    bool m_isMoveDrawn = false; // the last poll drew a moving transfer; the next poll does not
    bool m_isWorking = false;   // the last drawing showed a transfer or an archive
};

} // namespace console
