// The files in inboxes and in the bin.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** The most files that one change works on, because their memory is bounded. */
inline constexpr int batchFiles = 100;

/** Adds a file with a new id; `file.id` is ignored. Counts it for the farm and the owner. */
File addFile(Transaction& transaction, Id farm, const File& file);

/** Does not find a file in the bin. */
std::optional<File> fileById(soci::session& sql, Id farm, Id file);

bool nameIsInInbox(soci::session& sql, Id farm, Id inbox, const std::string& name);

void setFileName(Transaction& transaction, Id farm, Id file, const std::string& name);

void moveToBin(Transaction& transaction, Id farm, Id file, const std::string& deletedBy,
               long long nowMs);

/** A place in the bin's order. */
struct BinPlace
{
    long long deletedMs = 0;
    Id file = 0;
};

/** A part of the bin. Without a value a filter lets every file through. */
struct BinPart
{
    std::optional<Id> inbox = {};
    std::optional<std::string> name = {};
    std::optional<BinPlace> after = {};
    int most = 0; // 0: all
};

/** The file deleted last comes first. Ends when `visit` returns false. */
void binOf(soci::session& sql, Id farm, const BinPart& part,
           const std::function<bool(const BinnedFile&)>& visit);

/** Empty if the file is not in the farm's bin. */
std::optional<File> restoreFromBin(Transaction& transaction, Id farm, Id file);

/**
 * Deletes up to batchFiles files that were moved to the bin before this time; their ids are not
 * reused. Returns the digests of the deleted files, each once; empty if no such file is left. Other
 * files may have the same digests.
 */
std::vector<std::string> emptyBin(Transaction& transaction, long long deletedBeforeMs);

/** A file from a time when the clock was more than a day ahead counts as deleted now. */
void limitDeletionTimes(Transaction& transaction, long long nowMs);

/** The number of files that emptyBin() would delete. */
long long countBinBefore(soci::session& sql, long long deletedBeforeMs);

/** As emptyBin(), in the bin of one farm. */
std::vector<std::string> purgeBin(Transaction& transaction, Id farm, long long deletedBeforeMs);

/** Deletes a file of the farm's bin for good. Returns as emptyBin(). */
std::vector<std::string> purgeFile(Transaction& transaction, Id farm, Id file);

/**
 * Deletes up to batchFiles files of a farm, from inboxes and the bin. False if no file is left.
 */
bool removeSomeFilesOf(Transaction& transaction, Id farm);

/** Up to batchFiles files of an inbox, also those in the bin, in the order of their ids. */
std::vector<BinnedFile> someFilesOf(soci::session& sql, Id farm, Id inbox);

/** Moves files of one inbox, also those in the bin, to another inbox of the farm. */
void moveFiles(Transaction& transaction, Id farm, const std::vector<BinnedFile>& files, Id to);

/** Whether any file, in an inbox or in the bin, has this content. */
bool contentIsUsed(soci::session& sql, const std::string& sha256);

} // namespace kelvo::store
