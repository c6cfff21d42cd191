#include "transfer/FetchNote.h"

#include "base/DigestText.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>

namespace kesdk::impl {

namespace {

using nlohmann::json;
using std::chrono::seconds;

constexpr std::size_t kMarkDigits = 16;
constexpr std::int64_t kMostAgeS = 366 * kDayS; // the service takes no larger age

std::int64_t SecondsBetween(Clock::Time from, Clock::Time to)
{
    const auto age = std::chrono::duration_cast<seconds>(to - from).count();
    return std::clamp<std::int64_t>(age, 0, kMostAgeS);
}

std::int64_t ToWallS(Clock::Time time, const TwoClocks& now)
{
    return now.wallS - SecondsBetween(time, now.steady);
}

Clock::Time ToSteady(std::int64_t wallS, const TwoClocks& now)
{
    const std::int64_t ageS = now.wallS - std::max<std::int64_t>(wallS, 0);
    return now.steady - seconds(std::clamp<std::int64_t>(ageS, 0, kMostAgeS));
}

} // namespace

// Not the digest of the content: a large archive takes seconds to read.
std::string MarkOf(const std::string& path)
{
    struct stat file = {};
    if (::stat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode))
        return {};
    const std::string text = std::to_string(file.st_ino) + ' ' + std::to_string(file.st_size) +
                             ' ' + std::to_string(file.st_mtim.tv_sec) + ' ' +
                             std::to_string(file.st_mtim.tv_nsec);
    return HexDigestOf(text).substr(0, kMarkDigits);
}

FetchRecord RecordOf(const FetchNote& note, Clock::Time now)
{
    FetchRecord record;
    record.fileId = note.fileId;
    record.ageS = SecondsBetween(note.at, now);
    if (note.unpackedAt)
        record.unpackedAgeS = std::min(record.ageS, SecondsBetween(*note.unpackedAt, now));
    record.unpackErrorUtf8 = note.unpackError;
    return record;
}

// [id, time], and an object if there is more to tell.
json ToJson(const FetchNote& note, const TwoClocks& now)
{
    json entry = json::array({note.fileId, ToWallS(note.at, now)});
    json more = json::object();
    if (!note.mark.empty())
        more["mark"] = note.mark;
    if (note.isSent)
        more["sent"] = true;
    if (note.unpackedAt)
        more["unpacked"] = ToWallS(*note.unpackedAt, now);
    if (!note.unpackError.empty())
        more["error"] = note.unpackError;
    if (!more.empty())
        entry.push_back(std::move(more));
    return entry;
}

std::optional<FetchNote> ReadFetchNote(const json& entry, const TwoClocks& now)
{
    try {
        FetchNote note;
        note.fileId = entry.at(0).get<std::int64_t>();
        note.at = ToSteady(entry.at(1).get<std::int64_t>(), now);
        const json more = entry.size() > 2 ? entry.at(2) : json::object();
        note.mark = more.value("mark", "");
        note.isSent = more.value("sent", false);
        if (more.contains("unpacked"))
            note.unpackedAt = ToSteady(more.at("unpacked").get<std::int64_t>(), now);
        note.unpackError = more.value("error", "");
        return note;
    } catch (const json::exception&) {
        return std::nullopt;
    }
}

} // namespace kesdk::impl
