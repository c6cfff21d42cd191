#include "transfer/PartJournal.h"

#include "base/DigestText.h"
#include "transfer/JournalFile.h"
#include "transfer/Paths.h"
#include "transfer/StaleFiles.h"

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <string_view>

namespace kesdk::impl {

namespace {

constexpr std::string_view kPartSuffix = ".part";
constexpr std::string_view kJournalSuffix = ".part.journal";
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
    const auto isMeant = [](std::string_view name) { return IsJournalName(name, kJournalSuffix); };
    for (const std::string& path : FilesIn(folder, isMeant)) {
        if (!IsJournalOrTorn(path))
            continue;
        const std::string name(Without(path, kJournalSuffix));
        const std::string part = name.empty() ? name : name + std::string(kPartSuffix);
        const bool isOld = RepairDateAndCheckAge(path, nowS);
        // Evaluated always: RepairDateAndCheckAge repairs impossible dates.
        const bool hasYoungPart = !part.empty() && ::access(part.c_str(), F_OK) == 0 &&
                                  !RepairDateAndCheckAge(part, nowS);
        if (!isOld || hasYoungPart)
            continue;
        // Only the part file beside a complete journal is certainly ours.
        if (!part.empty() && ReadJournal(path))
            ::unlink(part.c_str());
        RemoveJournal(path);
    }
}

} // namespace kesdk::impl
