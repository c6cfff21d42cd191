#include "transfer/PendingDeletions.h"

#include "base/DigestText.h"
#include "http/ConsoleFacts.h"
#include "transfer/JournalFile.h"
#include "transfer/Paths.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

namespace kesdk::impl {

namespace {

using nlohmann::json;

constexpr const char* kSuffix = ".discard";
constexpr std::int64_t kLongestPendingS = 30 * kDayS; // the bin keeps a file for this time

std::string JournalPath(const std::string& folder, const std::string& account, std::int64_t fileId)
{
    return folder + '/' + HexDigestOf(account + '\n' + std::to_string(fileId)) + kSuffix;
}

// Whether the service has answered what becomes of the file. After 412 the file has another
// content.
bool IsDecided(const Failure& failure)
{
    return failure.Is(EErrorCode::eNone, EErrorCode::eNotFound, EErrorCode::eFileGone,
                      EErrorCode::eForbidden);
}

} // namespace

void PendingDeletions::Add(const ApiCall& call, const std::vector<FileRecord>& copies)
{
    ReadOnce();
    for (const FileRecord& file : copies) {
        Copy copy{call.account, file.id, '"' + file.sha256Hex + '"', {}};
        const std::string path = JournalPath(m_folder, call.account, file.id);
        const std::string text =
            ToJournalText({{"account", copy.account}, {"file", copy.fileId}, {"etag", copy.etag}});
        if (!m_folder.empty() && !copy.account.empty() && WriteJournal(path, text))
            copy.journal = path;
        m_copies.push_back(std::move(copy));
    }
}

bool PendingDeletions::Contains(const ApiCall& call, const std::vector<FileRecord>& files)
{
    ReadOnce();
    return std::any_of(m_copies.begin(), m_copies.end(), [&](const Copy& copy) {
        const auto isCopy = [&copy](const FileRecord& file) { return file.id == copy.fileId; };
        return IsOf(call, copy) && std::any_of(files.begin(), files.end(), isCopy);
    });
}

void PendingDeletions::Run(ApiClient& api, Timing& timing, const ApiCall& call)
{
    ReadOnce();
    ApiCall own = call;
    own.policy = PolicyOf(ECall::eDeleteCopy);
    Clock::Time end = timing.Now() + own.policy.total;
    bool isEnding = false;
    own.abort = [&] {
        const Clock::Time now = timing.Now();
        if (!isEnding && IsAborted(call.abort)) {
            isEnding = true;
            end = std::min<Clock::Time>(end, now + kDeletionLimitWhenEnding);
        }
        return now >= end;
    };
    std::vector<Copy> left;
    for (Copy& copy : m_copies) {
        const bool isOfCall = IsOf(call, copy);
        bool isDone = isOfCall && IsTooOld(copy);
        if (isOfCall && !isDone && !own.abort()) {
            own.policy.total =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - timing.Now());
            isDone = own.policy.total.count() > 0 &&
                     IsDecided(api.DeleteFile(own, copy.fileId, copy.etag));
        }
        if (isDone)
            RemoveJournal(copy.journal);
        else
            left.push_back(std::move(copy));
    }
    m_copies = std::move(left);
}

// A journal without an address is of an earlier version: it fits every service.
bool PendingDeletions::IsOf(const ApiCall& call, const Copy& copy)
{
    return copy.account == call.account || copy.account == UserIdOf(call.account);
}

void PendingDeletions::ReadOnce()
{
    if (std::exchange(m_isRead, true) || m_folder.empty())
        return;
    RemoveOldJournals(m_folder, kSuffix, m_wallTimeS(), kLongestPendingS);
    const auto isMeant = [](std::string_view name) { return !Without(name, kSuffix).empty(); };
    for (const std::string& path : FilesIn(m_folder, isMeant)) {
        // A string_view, so that the parser is not compiled a second time for strings.
        const std::string text = ReadJournal(path).value;
        const json document = json::parse(std::string_view(text), nullptr, false);
        if (!document.is_object() || !document.contains("account") || !document.contains("file") ||
            !document.contains("etag") || !document["account"].is_string() ||
            !document["file"].is_number_integer() || !document["etag"].is_string())
            continue;
        m_copies.push_back({document["account"], document["file"], document["etag"], path});
    }
}

bool PendingDeletions::IsTooOld(const Copy& copy) const
{
    const std::int64_t nowS = m_wallTimeS();
    return !copy.journal.empty() && !IsClockWrong(nowS, std::nullopt) &&
           RepairDateAndCheckAge(copy.journal, nowS, kLongestPendingS);
}

} // namespace kesdk::impl
