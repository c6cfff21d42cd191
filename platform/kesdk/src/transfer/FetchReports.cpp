#include "transfer/FetchReports.h"

#include "base/DigestText.h"
#include "transfer/JournalFile.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace kesdk::impl {

namespace {

using nlohmann::json;
using std::chrono::seconds;

constexpr const char* kSuffix = ".fetched";
constexpr std::size_t kMostFetches = 100;       // the service takes no more in a request
constexpr std::int64_t kMostAgeS = 366 * kDayS; // the service takes no larger age
constexpr std::int64_t kMostUnsentS = 30 * kDayS;

// The service has no such reports, or not for this account.
bool EndsReports(const Failure& failure)
{
    constexpr int kMethodNotAllowed = 405;
    return failure.Is(EErrorCode::eNotFound, EErrorCode::eForbidden) ||
           failure.httpStatus == kMethodNotAllowed;
}

// The service will not take these notes later either.
bool IsDecided(const Failure& failure)
{
    return failure.Is(EErrorCode::eNone, EErrorCode::eRefusedByService, EErrorCode::eTooLarge);
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
    if (account.empty() || m_isRefused)
        return;
    Fetches& fetches = Of(account);
    const auto isKnown = [fileId](const Fetch& fetch) { return fetch.fileId == fileId; };
    if (std::any_of(fetches.begin(), fetches.end(), isKnown))
        return;
    if (fetches.size() >= kMostFetches)
        fetches.erase(fetches.begin());
    fetches.push_back({fileId, m_clock.Now()});
    Store(account, fetches);
}

bool FetchReports::HasAny(const std::string& account)
{
    const std::lock_guard lock(m_mutex);
    return !account.empty() && !m_isRefused && !Of(account).empty();
}

Failure FetchReports::Send(ApiClient& api, const ApiCall& call)
{
    const std::vector<FetchRecord> records = Records(call.serviceAndUser);
    if (records.empty())
        return {};
    Failure failure = api.PostFetches(call, records);
    if (EndsReports(failure)) {
        const std::lock_guard lock(m_mutex);
        m_isRefused = true;
    }
    if (EndsReports(failure) || IsDecided(failure))
        Forget(call.serviceAndUser, records);
    return failure;
}

std::vector<FetchRecord> FetchReports::Records(const std::string& account)
{
    const std::lock_guard lock(m_mutex);
    std::vector<FetchRecord> records;
    if (account.empty() || m_isRefused)
        return records;
    const Clock::Time now = m_clock.Now();
    for (const Fetch& fetch : Of(account))
        records.push_back({fetch.fileId, SecondsBetween(fetch.at, now)});
    return records;
}

void FetchReports::Forget(const std::string& account, const std::vector<FetchRecord>& sent)
{
    const std::lock_guard lock(m_mutex);
    Fetches& fetches = Of(account);
    const auto wasSent = [&sent](const Fetch& fetch) {
        return std::any_of(sent.begin(), sent.end(), [&fetch](const FetchRecord& record) {
            return record.fileId == fetch.fileId;
        });
    };
    fetches.erase(std::remove_if(fetches.begin(), fetches.end(), wasSent), fetches.end());
    Store(account, fetches);
}

FetchReports::Fetches& FetchReports::Of(const std::string& account)
{
    const auto [found, isNew] = m_fetches.try_emplace(account);
    if (isNew)
        found->second = Read(account);
    return found->second;
}

// The steady clock does not outlast the console, so the journal has times of the console's clock.
void FetchReports::Store(const std::string& account, const Fetches& fetches) const
{
    if (m_folder.empty())
        return;
    if (fetches.empty()) {
        RemoveJournal(JournalPath(account));
        return;
    }
    std::error_code ignored;
    if (std::filesystem::create_directories(m_folder, ignored))
        ::chmod(m_folder.c_str(), 0700);
    const Clock::Time now = m_clock.Now();
    const std::int64_t nowS = m_wallTimeS();
    json list = json::array();
    for (const Fetch& fetch : fetches)
        list.push_back({fetch.fileId, nowS - SecondsBetween(fetch.at, now)});
    WriteJournal(JournalPath(account), ToJournalText({{"fetches", std::move(list)}}));
}

FetchReports::Fetches FetchReports::Read(const std::string& account) const
{
    Fetches fetches;
    if (m_folder.empty())
        return fetches;
    const std::int64_t nowS = m_wallTimeS();
    RemoveOldJournals(m_folder, kSuffix, nowS, kMostUnsentS);
    const std::string text = ReadJournal(JournalPath(account)).value;
    const json document = json::parse(std::string_view(text), nullptr, false);
    const json list = document.is_object() ? document.value("fetches", json()) : json();
    for (const json& entry : list) {
        if (!entry.is_array() || entry.size() != 2 || !entry[0].is_number_integer() ||
            !entry[1].is_number_integer() || fetches.size() >= kMostFetches)
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
