// Moves what was unpacked to its place, all of it or nothing.
#pragma once

#include "files/TPlacementJournal.h"

namespace hostimpl {

class TStagingFolder;

// Works out what has to be moved and changes nothing. False if a file is where a folder has to go,
// or the other way round; `errorText` names it.
bool PlanPlacement(int stagedFolder, int destination, TPlacementSteps& steps, QString& errorText);

// Does all steps. False at the first that fails; the caller undoes.
bool Place(const TStagingFolder& staging, int destination, const TPlacementSteps& steps,
           QString& errorText);

// Undoes whatever part of the steps was done, as far as the folders show it: after it the
// destination is as it was before. May be repeated. False with errno set.
bool UndoPlacement(const TStagingFolder& staging, int destination, const TPlacementSteps& steps);

// Makes the folders durable that the steps changed. False with errno set.
bool SyncPlacement(int destination, const TPlacementSteps& steps);

} // namespace hostimpl
