// The fetches of files, as the consoles report them.
#pragma once

#include "service/store/Database.h"
#include "service/store/InboxFiles.h"
#include "service/store/Records.h"

#include <functional>
#include <optional>
#include <string>

namespace kelvo::store {

/** A limit is needed, because an operator can report for any number of consoles. */
inline constexpr int mostConsolesOfAFile = 20;

/** One console has fetched one file, and may have unpacked it. */
struct Fetch
{
    Id file = 0;
    Id console = 0;
    Id userId = 0;
    std::string userName;
    long long fetchedMs = 0;
    long long unpackedMs = 0; // 0: not reported
    std::string unpackError;  // empty: not reported, or unpacked later
};

/**
 * Keeps the first fetch of the file by the console, its first unpacking and, until then, the last
 * error. `fetch.userName` is not used. Returns whether the report has changed anything. A report of
 * one console too many changes nothing.
 */
bool takeFetch(Transaction& transaction, Id farm, const Fetch& fetch);

/** The newest fetch of the file. */
std::optional<Fetch> lastFetchOf(soci::session& sql, Id farm, Id file);

/** The fetches by consoles under this user, in the order of the files, with the files' names. */
void eachFetchOf(soci::session& sql, const User& user,
                 const std::function<void(const Fetch&, const std::string& fileName)>& visit);

/** As InboxFiles::each(), each file with its newest fetch or null. */
void eachFileWithFetch(soci::session& sql, InboxFiles& files, Id farm, Id inbox,
                       const std::function<void(const File&, const Fetch*)>& visit);

} // namespace kelvo::store
