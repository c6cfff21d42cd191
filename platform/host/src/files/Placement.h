// Moves the unpacked files from the staging folder into the destination.
#pragma once

#include "files/TPlacementJournal.h"

namespace hostimpl {

class TStagingFolder;

// Computes the steps and changes nothing. Returns false if a file is in the place of a folder, or a
// folder in the place of a file; `errorText` names the entry.
bool PlanPlacement(int stagedFolder, int destination, TPlacementSteps& steps, QString& errorText);

// Executes all steps. Returns false at the first step that fails; the caller then undoes the steps.
bool Place(const TStagingFolder& staging, int destination, const TPlacementSteps& steps,
           QString& errorText);

// Undoes the executed steps, which the folders show, and restores the destination. A repeat is
// safe. On failure returns false with errno set.
bool UndoPlacement(const TStagingFolder& staging, int destination, const TPlacementSteps& steps);

// Syncs the folders that the steps changed. On failure returns false with errno set.
bool SyncPlacement(int destination, const TPlacementSteps& steps);

} // namespace hostimpl
