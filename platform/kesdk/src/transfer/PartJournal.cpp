#include "transfer/PartJournal.h"

#include "base/DigestText.h"
#include "transfer/JournalFile.h"
#include "transfer/Paths.h"
#include "transfer/StaleFiles.h"

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace kesdk::impl {

namespace {

constexpr std::string_view kPartSuffix = ".part";
constexpr std::string_view kJournalSuffix = ".part.journal";
constexpr std::size_t kMostPartFiles = 100;   // with a journal, and as many without
constexpr std::size_t kLooseDigestBytes = 16; // in hexadecimal
// The suffix of a part file without a journal is longer than the suffix of a new journal.
constexpr std::size_t kLongestSuffixBytes = 1 + kLooseDigestBytes + kPartSuffix.size();

// The text between the final name and the suffix of a part file without a journal.
std::string LooseDigestOf(std::string_view name)
{
    return '.' + HexDigestOf("kesdk part\n" + std::string(name)).substr(0, kLooseDigestBytes);
}

bool IsLoosePart(std::string_view fileName)
{
    const std::string_view start = Without(fileName, kPartSuffix);
    if (start.size() <= 1 + kLooseDigestBytes)
        return false;
    const std::size_t nameBytes = start.size() - 1 - kLooseDigestBytes;
    return start.substr(nameBytes) == LooseDigestOf(start.substr(0, nameBytes));
}

// Empty if the path has no name before the journal's suffix.
std::string PartOf(std::string_view journal)
{
    const std::string_view name = Without(journal, kJournalSuffix);
    return name.empty() ? std::string() : std::string(name) + std::string(kPartSuffix);
}

std::vector<std::string> JournalsIn(const std::string& folder)
{
    const auto isMeant = [](std::string_view name) { return IsJournalName(name, kJournalSuffix); };
    std::vector<std::string> journals = FilesIn(folder, isMeant);
    const auto isOthers = [](const std::string& path) { return !IsJournalOrTorn(path); };
    journals.erase(std::remove_if(journals.begin(), journals.end(), isOthers), journals.end());
    return journals;
}

void RemoveWithPart(const std::string& journal)
{
    // Only the part file beside a complete journal is certainly ours.
    const std::string part = PartOf(journal);
    if (!part.empty() && ReadJournal(journal))
        ::unlink(part.c_str());
    RemoveJournal(journal);
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
    return {start + std::string(kPartSuffix), start + std::string(kJournalSuffix),
            start + LooseDigestOf(name) + std::string(kPartSuffix)};
}

std::string ToPartJournal(const PartOrigin& origin)
{
    return ToJournalText({{"account", origin.account},
                          {"file", origin.fileId},
                          {"etag", origin.etag},
                          {"size", origin.sizeBytes},
                          {"sha256", origin.sha256Hex}});
}

void RemoveStalePartFiles(const std::string& folder, std::int64_t nowS)
{
    for (const std::string& path : StaleFiles(folder, &IsLoosePart, nowS))
        ::unlink(path.c_str());
    for (const std::string& path : JournalsIn(folder)) {
        const std::string part = PartOf(path);
        const bool isOld = RepairDateAndCheckAge(path, nowS);
        // Evaluated always: RepairDateAndCheckAge repairs impossible dates.
        const bool hasYoungPart = !part.empty() && ::access(part.c_str(), F_OK) == 0 &&
                                  !RepairDateAndCheckAge(part, nowS);
        if (isOld && !hasYoungPart)
            RemoveWithPart(path);
    }
}

void RemoveOldestPartFiles(const std::string& folder)
{
    for (const std::string& path : AllButNewest(FilesIn(folder, &IsLoosePart), kMostPartFiles))
        ::unlink(path.c_str());
    // A part file is dated later than its journal.
    std::map<std::string, std::string> journals;
    std::vector<std::string> newest;
    for (const std::string& journal : JournalsIn(folder)) {
        const std::string part = PartOf(journal);
        const bool hasPart = !part.empty() && ::access(part.c_str(), F_OK) == 0;
        newest.push_back(hasPart ? part : journal);
        journals[newest.back()] = journal;
    }
    for (const std::string& path : AllButNewest(std::move(newest), kMostPartFiles))
        RemoveWithPart(journals[path]);
}

} // namespace kesdk::impl
