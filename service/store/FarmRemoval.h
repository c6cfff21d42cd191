// The deletion of farms.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <vector>

namespace kelvo::store {

/**
 * Deletes a farm for every request: no query finds the farm, its users and their sessions any more.
 * The farm's name is free. The rows stay until removeSomeOf() has removed them.
 */
void deleteFarm(Transaction& transaction, Id farm, long long nowMs);

/** The deleted farms that still have rows. */
std::vector<Id> deletedFarms(soci::session& sql);

/**
 * Removes some rows of a deleted farm, in bounded memory. The audit trail stays, without the names
 * and addresses of the farm's users. False if nothing of the farm is left.
 */
bool removeSomeOf(Transaction& transaction, Id farm);

} // namespace kelvo::store
