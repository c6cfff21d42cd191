// The outcome of the plug-in's operations, for the signs in the dialogs.
#pragma once

namespace console {

class TFileCount;
struct THubEvent;

// Gives the dialogs the outcome that `event` tells. `files` has not seen the event yet. An
// operation that was cancelled before its last file has no outcome. Thread: main.
void ShowOutcome(const THubEvent& event, const TFileCount& files);

} // namespace console
