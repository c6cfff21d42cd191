// Uploads under way, and the results of finished ones.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** Throws NameTaken when the user has an upload with the same key. */
void addUpload(Transaction& transaction, const Upload& upload);

std::optional<Upload> uploadById(soci::session& sql, const std::string& id);
std::optional<Upload> uploadByKey(soci::session& sql, Id user, const std::string& key);

/** Keeps the result, so that a repeat of the request gets the same answer. */
void finishUpload(Transaction& transaction, const Upload& upload);

/** The upload can no longer be found by its key. */
void forgetKey(Transaction& transaction, const std::string& id);

/** Gives an unfinished upload more time. False if its time is over or it is unfinished no more. */
bool extendUpload(Transaction& transaction, const std::string& id, long long nowMs,
                  long long expiresMs);

/** False if it is finished or gone: a result is not given up. */
bool removeUnfinishedUpload(Transaction& transaction, const std::string& id);

/** Unfinished uploads whose time is over. */
std::vector<std::string> expiredUploads(soci::session& sql, long long nowMs);

/** False if it was finished or got more time meanwhile. */
bool removeExpiredUpload(Transaction& transaction, const std::string& id, long long nowMs);

/** Forgets finished uploads from before `nowMs` that nobody can ask for: without key, or none of
 * their files left. */
void forgetOldResults(Transaction& transaction, long long nowMs);

/** "10,11" and back; nothing for anything but a list of ids. */
std::string joinIds(const std::vector<Id>& ids);
std::optional<std::vector<Id>> splitIds(const std::string& text);

} // namespace kelvo::store
