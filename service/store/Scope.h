// The scope of a change, and the order of the locks of a writing transaction.
#pragma once

#include "service/store/Records.h"

#include <compare>
#include <cstdint>
#include <set>
#include <string_view>

namespace kelvo::store {

/**
 * The rows that a change reads and writes. Changes of different farms run side by side, at one
 * instance of the service and at several. Changes of one farm run in turn, in the order in which
 * they were queued at their instance. A change of all rows runs alone.
 *
 * A writing transaction takes its locks in this order:
 * 1. The lock of all rows: alone for all(), shared for the other scopes.
 * 2. The locks of its farms and uploads, alone, in the order of operator<.
 * 3. Rows that several scopes share, by statements of each change: the row of an upload in
 *    `received`, then the row of a content, each before the chunks are read; or the counter of the
 *    consoles.
 * 4. The counter of the audit trail, after the last change of the transaction.
 * 5. The database's own lock of the queue of notices, at the commit.
 *
 * The locks of step 3 have no order among the changes of a transaction. If two transactions wait
 * for each other there, the database ends one statement after a second. Its change fails with
 * StoreBusy.
 */
struct Scope
{
    enum class EKind : std::uint8_t { All, Farm, Upload };

    EKind kind = EKind::All;
    std::int32_t number = 0;

    static constexpr Scope all() { return {}; }

    /** All rows of a farm. Farm 0: the rows of administrators and of unknown users. */
    static constexpr Scope farm(Id farm) { return {EKind::Farm, static_cast<std::int32_t>(farm)}; }

    /**
     * The received bytes of an upload, but not its row in `uploads`, which is its farm's. The
     * change of the farm that makes a content of the bytes takes them without this scope: see
     * step 3.
     */
    static constexpr Scope upload(std::string_view id)
    {
        std::uint32_t hash = 2166136261U; // FNV-1a: the same in each version of the service
        for (const char letter : id) {
            hash = (hash ^ static_cast<unsigned char>(letter)) * 16777619U;
        }
        return {EKind::Upload, static_cast<std::int32_t>(hash)};
    }

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 takes a comparison with 0 for a pointer
    constexpr auto operator<=>(const Scope&) const = default;
};

using Scopes = std::set<Scope>;

} // namespace kelvo::store
