// The rules for which role may do what.
#pragma once

#include "service/api/Context.h"
#include "service/http/Request.h"
#include "service/store/Records.h"

namespace kelvo::api {

/**
 * Returns the caller if the caller belongs to a farm. Throws unauthenticated, or not-found for an
 * admin.
 */
Async<store::User> requireFarmUser(Context& context, http::Request& request);

/**
 * Returns the caller if the caller belongs to the farm's office. Throws forbidden for an operator,
 * not-found for an admin.
 */
Async<store::User> requireOffice(Context& context, http::Request& request);

/** Returns the session of an operator. Throws forbidden or not-found. */
Async<store::Session> requireOperator(Context& context, http::Request& request);

/** Returns the caller if the caller is an admin. Throws forbidden. */
Async<store::User> requireAdmin(Context& context, http::Request& request);

/**
 * For reports: they leave a half of the disk's reserve to the accounts and the deletions. Throws
 * Problem (insufficient-storage).
 */
Async<void> requireHalfOfReserve(Context& context);

/** Throws Problem (not-found). */
store::Farm requireFarm(soci::session& sql, store::Id id);

/** Whether the user may read and write this inbox of the user's farm. */
bool mayUse(const store::User& user, const store::Inbox& inbox);

} // namespace kelvo::api
