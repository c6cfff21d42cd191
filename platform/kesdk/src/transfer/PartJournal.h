// What the part of a download is a part of, for the time after a restart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kesdk::impl {

// The version of the file that is fetched, and for whom. A part of another version, or another
// account's or service's, is never gone on with.
struct PartOrigin
{
    std::string account; // and service; empty: no part is kept
    std::int64_t fileId = 0;
    std::string etag;
    std::int64_t sizeBytes = 0;
    std::string sha256Hex;
};

// The names beside the final one. They are shortened, at the end of a character, where the longest
// of them would not fit.
struct PartPaths
{
    std::string part;    // of one with a journal
    std::string journal; // beside it
    // Of a part without one: it says by itself that it is ours, with a digest of the final name.
    std::string loosePart;
};
PartPaths PartPathsOf(const std::string& folder, std::string name, std::size_t longestName);

// Errors of the following: none; a journal that cannot be written only costs going on later.
bool WritePartJournal(const std::string& path, const PartOrigin& origin);
// Whether the part beside the journal is one of just this. A journal that is torn is removed.
bool IsPartOf(const std::string& path, const PartOrigin& origin);
// Parts in the folder that nobody has gone on with for long, and their journals; the younger of
// both counts. Nothing else, whatever it is called. The clock must be right.
void RemoveStaleParts(const std::string& folder, std::int64_t nowS);

} // namespace kesdk::impl
