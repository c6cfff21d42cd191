#include "transfer/UploadJournal.h"

#include "base/DigestText.h"
#include "transfer/JournalFile.h"
#include "transfer/Paths.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <utility>

namespace kesdk::impl {

namespace {

using nlohmann::json;

constexpr std::string_view kSuffix = ".upload";

// A path need not be UTF-8, which JSON must be.
std::string Dump(const json& document)
{
    return document.dump(-1, ' ', false, json::error_handler_t::replace);
}

json ToJson(const UploadOrigin& origin)
{
    return {{"account", origin.userId},         {"path", origin.path},
            {"size", origin.sizeBytes},         {"modified_s", origin.modifiedS},
            {"modified_ns", origin.modifiedNs}, {"targets", origin.targetInboxIds}};
}

std::string ToText(const UploadOrigin& origin)
{
    return Dump(ToJson(origin));
}

// A view: nlohmann's parser for strings would be compiled once more.
json Parse(const std::optional<std::string>& text)
{
    return json::parse(std::string_view(text ? *text : ""), nullptr, false);
}

// Empty if the journal has no path, or has replaced a part of it that was not UTF-8.
std::string PathIn(const json& document)
{
    constexpr const char* kReplaced = "\xEF\xBF\xBD";
    const json::json_pointer place("/origin/path");
    if (!document.is_object() || !document.contains(place) || !document[place].is_string())
        return {};
    const std::string path = document[place];
    return path.find(kReplaced) == std::string::npos ? path : std::string();
}

bool IsGone(const std::string& path)
{
    return ::access(path.c_str(), F_OK) != 0 && errno == ENOENT;
}

// Only such a file among the operator's own can be a journal.
bool IsBesideName(std::string_view name)
{
    constexpr std::size_t kLeastBytes = 1 + 2 * sizeof(Sha256::Digest) + kSuffix.size();
    return name.size() >= kLeastBytes && name.front() == '.' && IsJournalName(name, kSuffix);
}

} // namespace

UploadJournal::UploadJournal(std::string folder, WallClock wallTimeS)
    : m_folder(std::move(folder)), m_wallTimeS(std::move(wallTimeS))
{
    SweepFolder();
}

UploadJournal::~UploadJournal()
{
    ForgetRemovedFiles();
    SweepFolder();
}

std::optional<std::string> UploadJournal::Find(const UploadOrigin& origin)
{
    SweepBeside(origin.path);
    const Places places = PlacesOf(origin);
    if (m_finished.count(places.back()) > 0)
        return std::nullopt;
    if (const auto found = m_onlyInMemory.find(places.back() + ToText(origin));
        found != m_onlyInMemory.end())
        return found->second;
    for (const std::string& place : places) {
        if (const auto key = ReadKey(place, origin))
            return key;
    }
    Forget(origin);
    return std::nullopt;
}

void UploadJournal::Keep(const UploadOrigin& origin, const std::string& key)
{
    Forget(origin); // the journal of an earlier upload must not outlive this one
    const Places places = PlacesOf(origin);
    std::error_code ignored;
    if (!m_folder.empty() && std::filesystem::create_directories(m_folder, ignored))
        ::chmod(m_folder.c_str(), 0700);
    const std::string text = Dump({{"origin", ToJson(origin)}, {"key", key}});
    const auto write = [&](const std::string& place) {
        return !place.empty() && WriteJournal(place, text);
    };
    if (std::none_of(places.begin(), places.end(), write))
        m_onlyInMemory[places.back() + ToText(origin)] = key;
}

void UploadJournal::Renew(const UploadOrigin& origin)
{
    for (const std::string& place : PlacesOf(origin))
        RenewJournal(place);
}

void UploadJournal::Finish(const UploadOrigin& origin)
{
    m_finished[PlacesOf(origin).back()] = origin;
}

void UploadJournal::Forget(const UploadOrigin& origin)
{
    const Places places = PlacesOf(origin);
    for (const std::string& place : places)
        RemoveJournal(place);
    m_finished.erase(places.back());
    m_onlyInMemory.erase(places.back() + ToText(origin));
}

// The name leaves out the state of the file, so that Find notices a new state.
UploadJournal::Places UploadJournal::PlacesOf(const UploadOrigin& origin) const
{
    std::string name = origin.userId + '\n' + origin.path;
    for (const std::int64_t id : origin.targetInboxIds)
        name += '\n' + std::to_string(id);
    const std::string file = HexDigestOf(name) + std::string(kSuffix);
    const std::string folder = FolderOf(origin.path);
    return {m_folder.empty() ? m_folder : m_folder + '/' + file,
            (folder == "." ? "./" : folder) + '.' + file};
}

std::optional<std::string> UploadJournal::ReadKey(const std::string& place,
                                                  const UploadOrigin& origin) const
{
    const json document = Parse(place.empty() ? std::nullopt : ReadJournal(place));
    const auto key = document.is_object() ? document.find("key") : document.end();
    if (key == document.end() || !key->is_string() || !document.contains("origin") ||
        Dump(document["origin"]) != ToText(origin))
        return std::nullopt;
    return key->get<std::string>();
}

// Removes what is stale, and what a killed process left of a file that is gone.
void UploadJournal::SweepFolder() const
{
    if (m_folder.empty())
        return;
    for (const std::string& path : StaleJournals(m_folder, kSuffix, m_wallTimeS()))
        RemoveJournal(path);
    for (const std::string& path : JournalsIn(m_folder, kSuffix)) {
        // Without its folder, the file may lie on a medium that is not there now.
        const std::string file = PathIn(Parse(ReadJournal(path)));
        if (!file.empty() && IsGone(file) && !IsGone(FolderOf(file)))
            RemoveJournal(path);
    }
}

void UploadJournal::SweepBeside(const std::string& path)
{
    const std::string folder = FolderOf(path);
    if (!m_sweptFolders.insert(folder).second)
        return;
    for (const std::string& stale : StaleFiles(folder, &IsBesideName, m_wallTimeS())) {
        if (WasToBeJournal(stale))
            RemoveJournal(stale);
    }
}

void UploadJournal::ForgetRemovedFiles()
{
    const std::map<std::string, UploadOrigin> finished = m_finished;
    for (const auto& [place, origin] : finished) {
        if (IsGone(origin.path))
            Forget(origin);
    }
}

} // namespace kesdk::impl
