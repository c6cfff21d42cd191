// What the part of a download is a part of, for the time after a restart.
#include "transfer/PartJournal.h"

#include "transfer/JournalFile.h"

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <string_view>

namespace kesdk::impl {

namespace {

constexpr std::string_view kPartSuffix = ".part";
constexpr std::string_view kJournalSuffix = ".part.journal";
constexpr std::size_t kLongestSuffixBytes = 17; // of the journal's while it is written

std::string TextOf(const PartOrigin& origin)
{
    const nlohmann::json document = {{"account", origin.account},
                                     {"file", origin.fileId},
                                     {"etag", origin.etag},
                                     {"size", origin.sizeBytes},
                                     {"sha256", origin.sha256Hex}};
    return document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace

PartPaths PartPathsOf(const std::string& folder, std::string name, std::size_t longestName)
{
    if (name.size() + kLongestSuffixBytes > longestName) {
        std::size_t end = longestName - kLongestSuffixBytes;
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0u) == 0x80u)
            --end;
        name.resize(end);
    }
    const std::string start = folder + name;
    return {start + std::string(kPartSuffix), start + std::string(kJournalSuffix)};
}

bool WritePartJournal(const std::string& path, const PartOrigin& origin)
{
    return WriteJournal(path, TextOf(origin));
}

bool IsPartOf(const std::string& path, const PartOrigin& origin)
{
    return !origin.account.empty() && ReadJournal(path) == TextOf(origin);
}

void RemoveStaleParts(const std::string& folder)
{
    for (const std::string& path : StaleJournals(folder, std::string(kJournalSuffix))) {
        // Only beside a journal of ours is a part ours.
        if (ReadJournal(path)) {
            const std::size_t length = path.size() - kJournalSuffix.size() + kPartSuffix.size();
            ::unlink(path.substr(0, length).c_str());
        }
        RemoveJournal(path);
    }
}

} // namespace kesdk::impl
