// The networks from which each user has logged in.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <functional>
#include <string>

namespace kelvo::store {

/** More networks of one user replace the user's oldest networks. */
inline constexpr int maxLoginPlaces = 20;

/** Whether the user has logged in from the network at this time or later. */
bool isLoginPlace(soci::session& sql, Id user, const std::string& network, long long sinceMs);

/** The networks of the user, each with the time of its last login, the latest first. */
void eachLoginPlaceOf(soci::session& sql, Id user,
                      const std::function<void(const std::string&, long long)>& visit);

/** Records a login. */
void addLoginPlace(Transaction& transaction, Id user, const std::string& network, long long nowMs);

/** Forgets the networks whose last login is older than this time. */
void removeLoginPlacesBefore(Transaction& transaction, long long timeMs);

} // namespace kelvo::store
