// The contents and uploads that the database refers to, and their files in a data folder.
#pragma once

#include <filesystem>
#include <limits>
#include <string>
#include <vector>

namespace soci {
class session;
}

namespace kelvo::maintenance {

/** A content that files, in inboxes or in the bin, refer to. */
struct WantedContent
{
    std::string sha256;
    long long sizeBytes = 0;
    std::string firstFile; // such as: file 55 "field.zip" of farm 1 "Hill Farm"
};

struct ContentTotals
{
    long long contents = 0;
    long long bytes = 0;
};

/** An unfinished upload. */
struct OpenUpload
{
    std::string id;
    long long lengthBytes = 0;
};

/** A list of all contents of a fleet may not fit into memory. */
inline constexpr int contentsPerPage = 1000;

/** In the order of the digests, after the digest `after`, at most `most`. */
std::vector<WantedContent> wantedContents(soci::session& sql, const std::string& after = {},
                                          int most = std::numeric_limits<int>::max());

/** Of all wanted contents. */
ContentTotals contentTotals(soci::session& sql);

std::vector<OpenUpload> openUploads(soci::session& sql);

/** The recorded place of the contents, as ContentsPlace::name(). The schema may be older. */
std::string placeOfContents(soci::session& sql);

/** The folder that has the contents and uploads. Empty: they are in a bucket. */
std::filesystem::path contentsRoot(const std::string& place,
                                   const std::filesystem::path& dataFolder);

/** The place of a content below a data folder or a backup. */
std::filesystem::path contentPath(const std::filesystem::path& folder, const std::string& sha256);

/** Whether the name is the digest of a content, and not the name of another file. */
bool isDigest(const std::string& name);

/** All files in the folders below content/, in order. Empty if there is no such folder. */
std::vector<std::filesystem::path> contentFiles(const std::filesystem::path& folder);

} // namespace kelvo::maintenance
