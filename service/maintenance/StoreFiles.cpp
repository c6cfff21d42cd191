#include "service/maintenance/StoreFiles.h"

#include "service/store/PlaceTable.h"

#include <soci/soci.h>

#include <algorithm>
#include <string_view>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

std::vector<WantedContent> wantedContents(soci::session& sql)
{
    WantedContent row;
    std::vector<WantedContent> all;
    soci::statement query =
        (sql.prepare << "SELECT sha256, size_bytes, 'file ' || MIN(id) || ' of farm ' || farm_id"
                        " FROM files GROUP BY sha256 ORDER BY sha256",
         soci::into(row.sha256), soci::into(row.sizeBytes), soci::into(row.firstFile));
    query.execute();
    while (query.fetch()) {
        all.push_back(row);
    }
    return all;
}

std::vector<OpenUpload> openUploads(soci::session& sql)
{
    OpenUpload row;
    std::vector<OpenUpload> all;
    soci::statement query =
        (sql.prepare << "SELECT id, length_bytes FROM uploads WHERE finished = 0 ORDER BY id",
         soci::into(row.id), soci::into(row.lengthBytes));
    query.execute();
    while (query.fetch()) {
        all.push_back(row);
    }
    return all;
}

std::string placeOfContents(soci::session& sql)
{
    int isRecorded = 0;
    sql << "SELECT COUNT(*) FROM sqlite_master WHERE name = 'contents_place'",
        soci::into(isRecorded);
    return isRecorded == 0 ? "" : store::contentsPlace(sql);
}

fs::path contentsRoot(const std::string& place, const fs::path& dataFolder)
{
    constexpr std::string_view fileScheme = "file:";
    if (place.empty()) {
        return dataFolder;
    }
    return place.starts_with(fileScheme) ? fs::path(place.substr(fileScheme.size())) : fs::path();
}

fs::path contentPath(const fs::path& folder, const std::string& sha256)
{
    return folder / "content" / sha256.substr(0, 2) / sha256;
}

bool isDigest(const std::string& name)
{
    return name.size() == 64 && name.find_first_not_of("0123456789abcdef") == std::string::npos;
}

std::vector<fs::path> contentFiles(const fs::path& folder)
{
    std::vector<fs::path> files;
    if (!fs::exists(folder / "content")) {
        return files;
    }
    for (const auto& below : fs::directory_iterator(folder / "content")) {
        for (const auto& entry : fs::directory_iterator(below.path())) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace kelvo::maintenance
