// Copies on the service that must not stay there.
#include "transfer/Discards.h"

#include "base/Sha256.h"
#include "transfer/JournalFile.h"

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
constexpr std::chrono::seconds kLimit{15};
constexpr std::chrono::seconds kLimitWhenEnding{2};

std::string JournalPath(const std::string& folder, const std::string& account, std::int64_t fileId)
{
    const std::string name = account + '\n' + std::to_string(fileId);
    Sha256 hash;
    hash.Update(name.data(), name.size());
    return folder + '/' + ToHex(hash.Finish()) + kSuffix;
}

// Whether the service has said what becomes of it: whatever else it was, the file may still be
// there.
bool IsSettled(const Failure& failure)
{
    return !failure.IsSet() || failure.Is(EErrorCode::eNotFound) ||
           failure.Is(EErrorCode::eFileGone) || failure.Is(EErrorCode::eForbidden);
}

} // namespace

void Discards::Owe(const std::string& account, const std::vector<std::int64_t>& fileIds)
{
    ReadOnce();
    for (const std::int64_t id : fileIds) {
        Copy copy{account, id, {}};
        if (!m_folder.empty() && !account.empty()) {
            const json document = {{"account", account}, {"file", id}};
            const std::string path = JournalPath(m_folder, account, id);
            if (WriteJournal(path, document.dump(-1, ' ', false, json::error_handler_t::replace)))
                copy.journal = path;
        }
        m_owed.push_back(std::move(copy));
    }
}

void Discards::Settle(ApiClient& api, const ApiCall& call)
{
    ReadOnce();
    ApiCall own = call;
    own.abort = nullptr;
    own.policy = RetryPolicy();
    const Clock::Time end = api.Http().Now() + (IsAborted(call.abort) ? kLimitWhenEnding : kLimit);
    const auto settle = [&](const Copy& copy) {
        own.policy.total =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - api.Http().Now());
        if (copy.account != call.account || own.policy.total.count() <= 0 ||
            !IsSettled(api.DeleteFile(own, copy.fileId, {})))
            return false;
        if (!copy.journal.empty())
            RemoveJournal(copy.journal);
        return true;
    };
    m_owed.erase(std::remove_if(m_owed.begin(), m_owed.end(), settle), m_owed.end());
}

void Discards::ReadOnce()
{
    if (std::exchange(m_isRead, true) || m_folder.empty())
        return;
    for (const std::string& path : JournalsIn(m_folder, kSuffix)) {
        const std::optional<std::string> text = ReadJournal(path);
        // A view, as everywhere: for a string the parser would be compiled once more.
        const json document =
            json::parse(std::string_view(text.value_or(std::string())), nullptr, false);
        if (!document.is_object() || !document.contains("account") || !document.contains("file") ||
            !document["account"].is_string() || !document["file"].is_number_integer())
            continue;
        m_owed.push_back({document["account"], document["file"], path});
    }
}

} // namespace kesdk::impl
