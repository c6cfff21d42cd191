// The files in inboxes and in the bin.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** With a new id; `file.id` is not looked at. */
File addFile(Transaction& transaction, Id farm, const File& file);

/** Files in the bin are found only by the functions that speak of it. */
std::optional<File> fileById(soci::session& sql, Id farm, Id file);

/** All files of the farm or, with an inbox, that inbox's; in the order of their ids. */
std::vector<File> filesOf(soci::session& sql, Id farm, std::optional<Id> inbox = {});

/** All files in one owner's inboxes. */
std::vector<File> filesOfOwner(soci::session& sql, Id farm, Id owner);

bool nameIsInInbox(soci::session& sql, Id farm, Id inbox, const std::string& name);

void moveToBin(Transaction& transaction, Id farm, Id file, const std::string& deletedBy,
               long long nowMs);
std::vector<BinnedFile> binOf(soci::session& sql, Id farm);

/** Nothing if it is not in the farm's bin. */
std::optional<File> restoreFromBin(Transaction& transaction, Id farm, Id file);

/** Forgets what was binned before that time; the ids stay used. The digests of what went, each
 * once; other files may have the same. */
std::vector<std::string> emptyBin(Transaction& transaction, long long deletedBeforeMs);

/** Whether any file, in an inbox or in the bin, has this content. */
bool contentIsUsed(soci::session& sql, const std::string& sha256);

} // namespace kelvo::store
