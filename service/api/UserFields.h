// The JSON members of requests about users, and the users that a caller may manage.
#pragma once

#include "service/api/Context.h"
#include "service/http/Request.h"
#include "service/store/Records.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace kelvo::api {

/** Returns the member "password", or another member. Throws Problem (unprocessable). */
std::string requirePassword(const nlohmann::json& body, const char* member = "password");

/** Throws Problem (unprocessable). */
store::ERole requireRole(const nlohmann::json& body);

/** Returns a user's name that no deleted user can have. Throws Problem (unprocessable). */
std::string requireUserName(const nlohmann::json& body);

/** Returns the caller if the caller is an admin or of a farm's office. Throws forbidden. */
Async<store::User> requireManager(Context& context, http::Request& request);

/**
 * Returns the user if the caller may manage the user: an admin manages all users, an office the
 * operators of its farm. Throws not-found for a user that the caller may not see, forbidden for
 * another user of the farm.
 */
store::User managedUser(soci::session& sql, const store::User& caller, store::Id id);

/** As managedUser(), but every user may also see their own data. */
store::User visibleUser(soci::session& sql, const store::User& caller, store::Id id);

} // namespace kelvo::api
