// Unfinished uploads, and the results of finished uploads.
#pragma once

#include "service/base/Clock.h"
#include "service/store/Database.h"
#include "service/store/Records.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** Throws NotUnique if the user has an upload with the same key. */
void addUpload(Transaction& transaction, const Upload& upload);

std::optional<Upload> uploadById(soci::session& sql, const std::string& id);
std::optional<Upload> uploadByKey(soci::session& sql, Id user, const std::string& key);

/**
 * Stores the result, so that a repeat of the request gets the same answer. The result is removed
 * with the first file of the upload.
 */
void finishUpload(Transaction& transaction, const Upload& upload);

/** Removes the upload's key. */
void forgetKey(Transaction& transaction, const std::string& id);

/** Extends the expiry of an unfinished upload, also of an expired one. False if it is finished. */
bool extendUpload(Transaction& transaction, const std::string& id, long long expiresMs);

/** Sets a length that was unknown. False if the upload has a length, or is missing. */
bool setUploadLength(Transaction& transaction, const std::string& id, long long lengthBytes);

/**
 * Sets the bytes that an upload without a length counts for in the quotas. False if it is finished
 * or missing.
 */
bool setClaimedBytes(Transaction& transaction, const std::string& id, long long bytes);

/** False if the upload is finished or missing. */
bool removeUnfinishedUpload(Transaction& transaction, const std::string& id);

/** In the order of their begin. */
void eachUnfinishedUploadOf(soci::session& sql, const User& user,
                            const std::function<void(const Upload&)>& visit);

/** Unfinished uploads that have expired. */
std::vector<std::string> expiredUploads(soci::session& sql, ExpiryTime now);

/** An upload from a time when the clock was more than a day ahead expires at `latestMs`. */
void limitUploadExpiry(Transaction& transaction, long long latestMs);

/** False if the upload was finished or extended meanwhile. */
bool removeExpiredUpload(Transaction& transaction, const std::string& id, ExpiryTime now);

/**
 * Whether a repeat with the same key gets this finished upload: all its files are still in their
 * targets.
 */
bool isRepeatable(soci::session& sql, const Upload& upload);

/** Removes the results of uploads without a key that have expired. */
void forgetOldResults(Transaction& transaction, ExpiryTime now);

/** "10,11" and back. Empty if the text is not a list of ids. */
std::string joinIds(const std::vector<Id>& ids);
std::optional<std::vector<Id>> splitIds(const std::string& text);

} // namespace kelvo::store
