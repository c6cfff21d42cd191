// Which uploads a console has begun, for the time after a restart.
#include "transfer/UploadJournal.h"

#include "base/DigestText.h"
#include "transfer/JournalFile.h"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <filesystem>
#include <string_view>
#include <utility>

namespace kesdk::impl {

namespace {

using nlohmann::json;

constexpr const char* kSuffix = ".upload";

json ToJson(const UploadOrigin& origin)
{
    return {{"account", origin.account},        {"path", origin.path},
            {"size", origin.sizeBytes},         {"modified_s", origin.modifiedS},
            {"modified_ns", origin.modifiedNs}, {"targets", origin.targetInboxIds}};
}

// A path need not be UTF-8, which JSON must be.
std::string Dump(const json& document)
{
    return document.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string TextOf(const json& document, const char* name)
{
    const auto found = document.find(name);
    return found != document.end() && found->is_string() ? found->get<std::string>()
                                                         : std::string();
}

} // namespace

UploadJournal::UploadJournal(std::string folder, WallClock wallTimeS)
    : m_folder(std::move(folder)), m_wallTimeS(std::move(wallTimeS))
{}

std::optional<BegunUpload> UploadJournal::Find(const UploadOrigin& origin)
{
    if (!IsKept(origin))
        return std::nullopt;
    if (!std::exchange(m_isSwept, true)) {
        for (const std::string& path : StaleJournals(m_folder, kSuffix, m_wallTimeS()))
            RemoveJournal(path);
    }
    const std::optional<std::string> text = ReadJournal(PathOf(origin));
    if (!text)
        return std::nullopt;
    // A view, as everywhere: for a string the parser would be compiled once more.
    const json document = json::parse(std::string_view(*text), nullptr, false);
    if (document.is_object() && document.contains("origin") &&
        Dump(document["origin"]) == Dump(ToJson(origin))) {
        BegunUpload upload{TextOf(document, "key"), TextOf(document, "location")};
        if (!upload.key.empty())
            return upload;
    }
    Forget(origin);
    return std::nullopt;
}

void UploadJournal::Keep(const UploadOrigin& origin, const BegunUpload& upload)
{
    if (!IsKept(origin))
        return;
    std::error_code ignored;
    if (std::filesystem::create_directories(m_folder, ignored))
        ::chmod(m_folder.c_str(), 0700);
    const json document = {
        {"origin", ToJson(origin)}, {"key", upload.key}, {"location", upload.location}};
    // An older one, of an upload that is no more, must not outlive this.
    if (!WriteJournal(PathOf(origin), Dump(document)))
        Forget(origin);
}

void UploadJournal::Renew(const UploadOrigin& origin)
{
    if (IsKept(origin))
        RenewJournal(PathOf(origin));
}

void UploadJournal::Forget(const UploadOrigin& origin)
{
    if (IsKept(origin))
        RemoveJournal(PathOf(origin));
}

bool UploadJournal::IsKept(const UploadOrigin& origin) const
{
    return !m_folder.empty() && !origin.account.empty();
}

// Named after what stays when the file is written anew, so that this is noticed.
std::string UploadJournal::PathOf(const UploadOrigin& origin) const
{
    std::string name = origin.account + '\n' + origin.path;
    for (const std::int64_t id : origin.targetInboxIds)
        name += '\n' + std::to_string(id);
    Sha256 hash;
    hash.Update(name.data(), name.size());
    return m_folder + '/' + ToHex(hash.Finish()) + kSuffix;
}

} // namespace kesdk::impl
