// A fetched file and the result of its unpacking, until the service has both.
#pragma once

#include "base/Clock.h"
#include "client/Records.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace kesdk::impl {

struct FetchNote
{
    std::int64_t fileId = 0;
    Clock::Time at;
    std::string mark;    // MarkOf the file; empty: no result will come
    bool isSent = false; // the service has the fetch, and the result if there is a result
    std::optional<Clock::Time> unpackedAt;
    std::string unpackError; // of the last attempt

    bool MustBeSent() const { return !isSent; }
    // An archive that could not be unpacked may be unpacked later.
    bool MayHaveMore() const { return !unpackedAt && !mark.empty(); }
};

// Recognises the file at the path, also after a restart. Another file that replaces it has another
// mark. Empty if the path has no regular file.
std::string MarkOf(const std::string& path);

FetchRecord RecordOf(const FetchNote& note, Clock::Time now);

// Both clocks at the same moment. The steady clock starts again with the console, so a journal has
// times of the console's clock.
struct TwoClocks
{
    Clock::Time steady;
    std::int64_t wallS;
};

nlohmann::json ToJson(const FetchNote& note, const TwoClocks& now);
// Reads entries of this version and of the version before. Empty for any other entry.
std::optional<FetchNote> ReadFetchNote(const nlohmann::json& entry, const TwoClocks& now);

} // namespace kesdk::impl
