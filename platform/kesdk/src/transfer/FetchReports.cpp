#include "transfer/FetchReports.h"

#include "base/DigestText.h"
#include "transfer/JournalFile.h"

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
using std::chrono::seconds;

constexpr const char* kSuffix = ".fetched";
constexpr std::size_t kMostKept = 1000;         // stays below the largest size of a journal
constexpr std::size_t kMostInARequest = 100;    // the service takes no more
constexpr std::int64_t kMostAgeS = 366 * kDayS; // the service takes no larger age
constexpr std::int64_t kMostUnsentS = 30 * kDayS;

// The service will not take these notes later either. A proxy may send any other status.
bool IsDecided(const Failure& failure)
{
    constexpr int kStatuses[] = {400, 413, 422};
    return !failure.IsSet() || std::find(std::begin(kStatuses), std::end(kStatuses),
                                         failure.httpStatus) != std::end(kStatuses);
}

std::int64_t SecondsBetween(Clock::Time from, Clock::Time to)
{
    const auto age = std::chrono::duration_cast<seconds>(to - from).count();
    return std::clamp<std::int64_t>(age, 0, kMostAgeS);
}

} // namespace

FetchReports::FetchReports(std::string folder, const Clock& clock, WallClock wallTimeS)
    : m_folder(std::move(folder)), m_clock(clock), m_wallTimeS(std::move(wallTimeS))
{}

void FetchReports::Note(const std::string& account, std::int64_t fileId)
{
    const std::lock_guard lock(m_mutex);
    if (account.empty())
        return;
    Notes& notes = Of(account);
    Fetches& fetches = notes.fetches;
    const auto isKnown = [fileId](const Fetch& fetch) { return fetch.fileId == fileId; };
    if (std::any_of(fetches.begin(), fetches.end(), isKnown))
        return;
    fetches.push_back({fileId, m_clock.Now()});
    if (fetches.size() > kMostKept)
        fetches.erase(fetches.begin(), fetches.end() - kMostKept);
    Store(account, notes);
}

bool FetchReports::HasAny(const std::string& account)
{
    const std::lock_guard lock(m_mutex);
    return !account.empty() && !Of(account).fetches.empty();
}

Failure FetchReports::Send(ApiClient& api, const ApiCall& call)
{
    const std::vector<FetchRecord> records = Records(call.serviceAndUser);
    if (records.empty())
        return {};
    Failure failure = api.PostFetches(call, records);
    if (IsDecided(failure))
        Forget(call.serviceAndUser, records);
    return failure;
}

std::vector<FetchRecord> FetchReports::Records(const std::string& account)
{
    const std::lock_guard lock(m_mutex);
    std::vector<FetchRecord> records;
    if (account.empty())
        return records;
    const Clock::Time now = m_clock.Now();
    for (const Fetch& fetch : Of(account).fetches) {
        if (records.size() < kMostInARequest)
            records.push_back({fetch.fileId, SecondsBetween(fetch.at, now)});
    }
    return records;
}

void FetchReports::Forget(const std::string& account, const std::vector<FetchRecord>& sent)
{
    const std::lock_guard lock(m_mutex);
    Notes& notes = Of(account);
    Fetches& fetches = notes.fetches;
    const auto wasSent = [&sent](const Fetch& fetch) {
        return std::any_of(sent.begin(), sent.end(), [&fetch](const FetchRecord& record) {
            return record.fileId == fetch.fileId;
        });
    };
    fetches.erase(std::remove_if(fetches.begin(), fetches.end(), wasSent), fetches.end());
    Store(account, notes);
}

FetchReports::Notes& FetchReports::Of(const std::string& account)
{
    Notes& notes = m_notes[account];
    if (notes.hasJournal)
        return notes;
    if (const std::optional<Fetches> earlier = Read(account)) {
        notes.fetches.insert(notes.fetches.begin(), earlier->begin(), earlier->end());
        notes.hasJournal = true;
    }
    return notes;
}

// The steady clock does not outlast the console, so the journal has times of the console's clock.
void FetchReports::Store(const std::string& account, const Notes& notes) const
{
    if (m_folder.empty() || !notes.hasJournal)
        return;
    if (notes.fetches.empty()) {
        RemoveJournal(JournalPath(account));
        return;
    }
    std::error_code ignored;
    if (std::filesystem::create_directories(m_folder, ignored))
        ::chmod(m_folder.c_str(), 0700);
    const Clock::Time now = m_clock.Now();
    const std::int64_t nowS = m_wallTimeS();
    json list = json::array();
    for (const Fetch& fetch : notes.fetches)
        list.push_back({fetch.fileId, nowS - SecondsBetween(fetch.at, now)});
    WriteJournal(JournalPath(account), ToJournalText({{"fetches", std::move(list)}}), ESync::eNo);
}

std::optional<FetchReports::Fetches> FetchReports::Read(const std::string& account) const
{
    Fetches fetches;
    if (m_folder.empty())
        return fetches;
    const std::int64_t nowS = m_wallTimeS();
    RemoveOldJournals(m_folder, kSuffix, nowS, kMostUnsentS);
    const Result<std::string> text = ReadJournal(JournalPath(account));
    if (text.failure.Is(EErrorCode::eFileUnreadable))
        return std::nullopt;
    const json document = json::parse(std::string_view(text.value), nullptr, false);
    const json list = document.is_object() ? document.value("fetches", json()) : json();
    for (const json& entry : list) {
        if (!entry.is_array() || entry.size() != 2 || !entry[0].is_number_integer() ||
            !entry[1].is_number_integer() || fetches.size() >= kMostKept)
            continue;
        const std::int64_t atS = std::max<std::int64_t>(entry[1].get<std::int64_t>(), 0);
        const std::int64_t ageS = std::clamp<std::int64_t>(nowS - atS, 0, kMostAgeS);
        fetches.push_back({entry[0].get<std::int64_t>(), m_clock.Now() - seconds(ageS)});
    }
    return fetches;
}

std::string FetchReports::JournalPath(const std::string& account) const
{
    return m_folder + '/' + HexDigestOf(account) + kSuffix;
}

} // namespace kesdk::impl
