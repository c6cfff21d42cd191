// The journal beside the part file of a download.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kesdk::impl {

// The version of the file, and the account that fetches it. A part file of another version, account
// or service is never resumed.
struct PartOrigin
{
    std::string account; // empty: the part file is not kept
    std::int64_t fileId = 0;
    std::string etag;
    std::int64_t sizeBytes = 0;
    std::string sha256Hex;
};

// The names beside the final name. Long names are shortened at the end of a character.
struct PartPaths
{
    std::string part;    // the part file, if it has a journal
    std::string journal; // beside the part file
    // The name of a part file without a journal: a digest of the final name shows its origin.
    std::string loosePart;
};
PartPaths PartPathsOf(const std::string& folder, std::string name, std::size_t longestName);

// The text of the journal. Two versions never have the same text.
std::string ToPartJournal(const PartOrigin& origin);
// Removes part files and their journals that are older than a week. The later date of the two
// counts. Removes no other files. The clock must be right.
void RemoveStalePartFiles(const std::string& folder, std::int64_t nowS);
// Keeps the 100 newest part files with a journal, and the 100 newest without. While the clock is
// wrong, no part file is removed by its age.
void RemoveOldestPartFiles(const std::string& folder);

} // namespace kesdk::impl
