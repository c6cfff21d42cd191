#include "transfer/FetchReports.h"

#include "base/DigestText.h"
#include "base/Text.h"
#include "client/ApiJson.h"
#include "transfer/JournalFile.h"
#include "transfer/Paths.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

namespace kesdk::impl {

namespace {

using nlohmann::json;

constexpr std::string_view kSuffix = ".fetched";
constexpr std::size_t kMostKept = 1000; // stays below the largest size of a journal
// The request has 5 s, and a slow link brings 1 KB/s. Fewer than 100 records fit: the service takes
// no more.
constexpr std::size_t kMostRequestBytes = 2'000;
constexpr std::size_t kMostErrorLetters = 255; // the service takes no more
constexpr std::int64_t kMostUnsentS = 30 * kDayS;

// The service will not take these notes later either. A proxy may send any other status.
bool IsDecided(const Failure& failure)
{
    constexpr int kStatuses[] = {400, 413, 422};
    return !failure.IsSet() || std::find(std::begin(kStatuses), std::end(kStatuses),
                                         failure.httpStatus) != std::end(kStatuses);
}

bool HasSameResult(const FetchNote& note, const FetchRecord& sent)
{
    return note.unpackedAt.has_value() == sent.unpackedAgeS.has_value() &&
           note.unpackError == sent.unpackErrorUtf8;
}

std::string JournalOf(const std::string& account)
{
    return HexDigestOf(account) + std::string(kSuffix);
}

void DropOldest(std::vector<FetchNote>& notes)
{
    const auto waiting = std::find_if(notes.begin(), notes.end(),
                                      [](const FetchNote& note) { return !note.MustBeSent(); });
    notes.erase(waiting == notes.end() ? notes.begin() : waiting);
}

void DropOld(std::vector<FetchNote>& notes, Clock::Time now)
{
    const auto isOld = [now](const FetchNote& note) {
        return !note.MustBeSent() && now - note.at > std::chrono::seconds(kLongestAgeS);
    };
    notes.erase(std::remove_if(notes.begin(), notes.end(), isOld), notes.end());
}

} // namespace

FetchReports::FetchReports(std::string folder, const Clock& clock, WallClock wallTimeS,
                           WallClock ageClock, std::function<std::chrono::milliseconds()> asleep)
    : m_folder(std::move(folder)),
      m_clock(clock),
      m_wallTimeS(std::move(wallTimeS)),
      m_ageClock(std::move(ageClock)),
      m_asleep(std::move(asleep))
{}

void FetchReports::Note(const std::string& account, std::int64_t fileId, const std::string& path)
{
    const std::lock_guard lock(m_mutex);
    if (account.empty())
        return;
    const std::string journal = JournalOf(account);
    Notes& notes = Of(journal);
    Fetches& fetches = notes.fetches;
    DropOld(fetches, Steady());
    const auto known =
        std::find_if(fetches.begin(), fetches.end(),
                     [fileId](const FetchNote& note) { return note.fileId == fileId; });
    if (known == fetches.end()) {
        fetches.push_back({fileId, Steady(), MarkOf(path), false, std::nullopt, {}});
        while (fetches.size() > kMostKept)
            DropOldest(fetches);
    } else {
        // The service keeps the time of the first fetch. It keeps an error until the file is
        // unpacked.
        known->mark = MarkOf(path);
        known->isSent = false;
        known->unpackError.clear();
    }
    Store(journal, notes);
}

void FetchReports::NoteUnpacking(const char* path, const char* errorUtf8)
{
    const std::string mark = MarkOf(path);
    const std::lock_guard lock(m_mutex);
    if (mark.empty())
        return;
    // Another operator may have fetched the file in an earlier run.
    const auto isJournal = [](std::string_view name) { return !Without(name, kSuffix).empty(); };
    for (const std::string& journal : FilesIn(m_folder, isJournal))
        Of(NameOf(journal));
    std::string error;
    if (errorUtf8)
        error = *errorUtf8 ? ToUtf8(ToWide(errorUtf8).substr(0, kMostErrorLetters)) : "unknown";
    for (auto& [journal, notes] : m_notes) {
        bool isChanged = false;
        for (FetchNote& note : notes.fetches) {
            const bool isNew = !errorUtf8 || note.unpackError != error;
            if (note.mark != mark || note.unpackedAt || !isNew)
                continue;
            note.unpackError = error;
            note.isSent = false;
            if (!errorUtf8)
                note.unpackedAt = Steady();
            isChanged = true;
        }
        if (isChanged)
            Store(journal, notes);
    }
}

bool FetchReports::HasAny(const std::string& account)
{
    const std::lock_guard lock(m_mutex);
    if (account.empty())
        return false;
    const Fetches& fetches = Of(JournalOf(account)).fetches;
    return std::any_of(fetches.begin(), fetches.end(),
                       [](const FetchNote& note) { return note.MustBeSent(); });
}

Failure FetchReports::Send(ApiClient& api, const ApiCall& call)
{
    const std::vector<FetchRecord> records = Records(call.account);
    if (records.empty())
        return {};
    Failure failure = api.PostFetches(call, records);
    if (IsDecided(failure))
        TakeAsSent(call.account, records);
    return failure;
}

std::vector<FetchRecord> FetchReports::Records(const std::string& account)
{
    const std::lock_guard lock(m_mutex);
    std::vector<FetchRecord> records;
    if (account.empty())
        return records;
    const Clock::Time now = Steady();
    std::size_t bytes = 0;
    for (const FetchNote& note : Of(JournalOf(account)).fetches) {
        if (!note.MustBeSent())
            continue;
        const FetchRecord record = RecordOf(note, now);
        bytes += FetchesJson({record}).size();
        if (!records.empty() && bytes > kMostRequestBytes)
            break;
        records.push_back(record);
    }
    return records;
}

// If the result came during the request, the note stays and is sent again.
void FetchReports::TakeAsSent(const std::string& account, const std::vector<FetchRecord>& sent)
{
    const std::lock_guard lock(m_mutex);
    const std::string journal = JournalOf(account);
    Notes& notes = Of(journal);
    Fetches kept;
    for (FetchNote& note : notes.fetches) {
        const auto record =
            std::find_if(sent.begin(), sent.end(), [&note](const FetchRecord& candidate) {
                return candidate.fileId == note.fileId;
            });
        if (record != sent.end() && HasSameResult(note, *record))
            note.isSent = true;
        if (note.MustBeSent() || note.MayHaveMore())
            kept.push_back(std::move(note));
    }
    notes.fetches = std::move(kept);
    Store(journal, notes);
    // Not earlier: only an answer tells whether the console's clock is right.
    if (!m_folder.empty())
        RemoveOldJournals(m_folder, kSuffix, m_ageClock(), kMostUnsentS);
}

FetchReports::Notes& FetchReports::Of(const std::string& journal)
{
    Notes& notes = m_notes[journal];
    if (notes.hasJournal)
        return notes;
    if (const std::optional<Fetches> earlier = Read(journal)) {
        notes.fetches.insert(notes.fetches.begin(), earlier->begin(), earlier->end());
        notes.hasJournal = true;
    }
    return notes;
}

void FetchReports::Store(const std::string& journal, const Notes& notes) const
{
    if (m_folder.empty() || !notes.hasJournal)
        return;
    if (notes.fetches.empty()) {
        RemoveJournal(PathOf(journal));
        return;
    }
    std::error_code ignored;
    if (std::filesystem::create_directories(m_folder, ignored))
        ::chmod(m_folder.c_str(), 0700);
    const TwoClocks now = Now();
    json list = json::array();
    for (const FetchNote& note : notes.fetches)
        list.push_back(ToJson(note, now));
    WriteJournal(PathOf(journal), ToJournalText({{"fetches", std::move(list)}}), ESync::eNo);
}

std::optional<FetchReports::Fetches> FetchReports::Read(const std::string& journal) const
{
    Fetches fetches;
    if (m_folder.empty())
        return fetches;
    const TwoClocks now = Now();
    const Result<std::string> text = ReadJournal(PathOf(journal));
    if (text.failure.Is(EErrorCode::eFileUnreadable))
        return std::nullopt;
    const json document = json::parse(std::string_view(text.value), nullptr, false);
    const json list = document.is_object() ? document.value("fetches", json()) : json();
    for (const json& entry : list) {
        std::optional<FetchNote> note = ReadFetchNote(entry, now);
        if (note && fetches.size() < kMostKept)
            fetches.push_back(std::move(*note));
    }
    return fetches;
}

} // namespace kesdk::impl
