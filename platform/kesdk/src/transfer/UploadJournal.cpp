#include "transfer/UploadJournal.h"

#include "base/DigestText.h"
#include "transfer/JournalFile.h"
#include "transfer/Paths.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

namespace kesdk::impl {

namespace {

using nlohmann::json;

constexpr std::string_view kSuffix = ".upload";
constexpr std::size_t kMostJournals = 1000; // in a folder, beside the journal of the running upload

json ToJson(const UploadOrigin& origin)
{
    return {{"account", origin.userId},         {"path", origin.path},
            {"size", origin.sizeBytes},         {"modified_s", origin.modifiedS},
            {"modified_ns", origin.modifiedNs}, {"targets", origin.targetInboxIds}};
}

std::string ToText(const UploadOrigin& origin)
{
    return ToJournalText(ToJson(origin));
}

// The key in the text, if the text is of this origin.
std::optional<std::string> KeyIn(std::string_view text, const UploadOrigin& origin)
{
    // A string_view, so that the parser is not compiled a second time for strings.
    const json document = json::parse(text, nullptr, false);
    const auto key = document.is_object() ? document.find("key") : document.end();
    if (key == document.end() || !key->is_string() || !document.contains("origin") ||
        ToJournalText(document["origin"]) != ToText(origin))
        return std::nullopt;
    return key->get<std::string>();
}

bool IsGone(const std::string& path)
{
    return ::access(path.c_str(), F_OK) != 0 && errno == ENOENT;
}

// 0 if there is no such path.
dev_t DeviceOf(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

// In the operator's folder only a file with such a name can be a journal.
bool IsBesideName(std::string_view name)
{
    constexpr std::size_t kLeastBytes = 1 + 2 * sizeof(Sha256::Digest) + kSuffix.size();
    return name.size() >= kLeastBytes && name.front() == '.' && IsJournalName(name, kSuffix);
}

// Removes the oldest journals in the folder of the journal `kept`.
void RemoveOldest(const std::string& kept)
{
    const bool isBeside = IsBesideName(NameOf(kept));
    const auto isOther = [&](std::string_view name) {
        return name != NameOf(kept) &&
               (isBeside ? IsBesideName(name) : IsJournalName(name, kSuffix));
    };
    for (const std::string& path : AllButNewest(FilesIn(FolderOf(kept), isOther), kMostJournals)) {
        if (!isBeside || IsJournalOrTorn(path))
            RemoveJournal(path);
    }
}

} // namespace

UploadJournal::UploadJournal(std::string folder, WallClock wallTimeS)
    : m_folder(std::move(folder)), m_wallTimeS(std::move(wallTimeS))
{}

Result<std::string> UploadJournal::RemoveOtherAndFind(const UploadOrigin& origin)
{
    RemoveStale(origin.path);
    const Places places = PlacesOf(origin);
    if (const auto known = m_known.find(places.back());
        known != m_known.end() &&
        (known->second.key.empty() || ToText(known->second.origin) == ToText(origin)))
        return known->second.key;
    for (const std::string& place : places) {
        const Result<std::string> text = ReadJournal(place);
        if (text.failure.Is(EErrorCode::eFileUnreadable))
            return Failure(EErrorCode::eInternal, text.failure.detail);
        if (!text)
            continue;
        if (const auto key = KeyIn(text.value, origin))
            return *key;
        RemoveJournal(place);
    }
    return std::string();
}

void UploadJournal::Keep(const UploadOrigin& origin, const std::string& key)
{
    const Places places = PlacesOf(origin);
    std::error_code ignored;
    if (!m_folder.empty() && std::filesystem::create_directories(m_folder, ignored))
        ::chmod(m_folder.c_str(), 0700);
    m_known.erase(places.back());
    const std::string text = ToJournalText({{"origin", ToJson(origin)}, {"key", key}});
    bool isOnDisk = false;
    for (const std::string& place : places) {
        if (!isOnDisk && !place.empty() && WriteJournal(place, text)) {
            isOnDisk = true;
            RemoveOldest(place);
        } else {
            RemoveJournal(place); // the journal of an earlier upload must not outlive this one
        }
    }
    if (!isOnDisk)
        m_known[places.back()] = {origin, key, 0};
}

void UploadJournal::Renew(const UploadOrigin& origin)
{
    for (const std::string& place : PlacesOf(origin))
        ::utimensat(AT_FDCWD, place.c_str(), nullptr, AT_SYMLINK_NOFOLLOW);
}

void UploadJournal::Finish(const UploadOrigin& origin)
{
    m_known[PlacesOf(origin).back()] = {origin, {}, DeviceOf(FolderOf(origin.path))};
}

void UploadJournal::Forget(const UploadOrigin& origin)
{
    const Places places = PlacesOf(origin);
    for (const std::string& place : places)
        RemoveJournal(place);
    m_known.erase(places.back());
}

// The name leaves out the state of the file, so that RemoveOtherAndFind notices a new state.
UploadJournal::Places UploadJournal::PlacesOf(const UploadOrigin& origin) const
{
    std::string name = origin.userId + '\n' + origin.path;
    for (const std::int64_t id : origin.targetInboxIds)
        name += '\n' + std::to_string(id);
    const std::string file = HexDigestOf(name) + std::string(kSuffix);
    const std::string folder = FolderOf(origin.path);
    return {m_folder.empty() ? m_folder : m_folder + '/' + file, folder + '.' + file};
}

// Not in the constructor: the service has not told its time yet.
void UploadJournal::RemoveStale(const std::string& path)
{
    const std::string folder = FolderOf(path);
    const std::int64_t nowS = m_wallTimeS();
    if (!m_folder.empty() && MustSearch(m_searchedFolders, m_folder, nowS))
        RemoveOldJournals(m_folder, kSuffix, nowS, kLongestAgeS);
    if (!MustSearch(m_searchedFolders, folder, nowS))
        return;
    for (const std::string& stale : StaleFiles(folder, &IsBesideName, nowS)) {
        if (IsJournalOrTorn(stale))
            RemoveJournal(stale);
    }
}

void UploadJournal::ForgetRemovedFiles(const std::string& folder)
{
    const std::map<std::string, Known> all = m_known;
    for (const auto& [place, known] : all) {
        const std::string& path = known.origin.path;
        if (known.key.empty() && FolderOf(path) == folder && IsGone(path) &&
            DeviceOf(folder) == known.device)
            Forget(known.origin);
    }
}

} // namespace kesdk::impl
