// The rules of who may do what.
#pragma once

#include "service/api/Context.h"
#include "service/http/Request.h"
#include "service/store/Records.h"

namespace kelvo::api {

/** The caller, who belongs to a farm. Throws unauthenticated, or not-found for an admin. */
Async<store::User> requireFarmUser(Context& context, http::Request& request);

/** The caller, who is of the farm's office. Throws forbidden for an operator, not-found for an
 * admin. */
Async<store::User> requireOffice(Context& context, http::Request& request);

/** The session of a console's operator. Throws forbidden or not-found. */
Async<store::Session> requireOperator(Context& context, http::Request& request);

/** The caller, who is an admin. Throws forbidden. */
Async<store::User> requireAdmin(Context& context, http::Request& request);

/** Whether the user may read and write the inbox of their own farm. */
bool mayUse(const store::User& user, const store::Inbox& inbox);

} // namespace kelvo::api
