#include "service/maintenance/StoreFiles.h"

#include "service/base/Names.h"
#include "service/store/Bind.h"
#include "service/store/PlaceTable.h"

#include <soci/soci.h>

#include <algorithm>
#include <string_view>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

/** Older names may hold characters that hide or reorder what a terminal shows. */
std::string shownName(const std::string& name)
{
    std::string text;
    for (std::size_t at = 0; at < name.size();) {
        const std::size_t control = controlBytes(name, at);
        text += control > 0 ? '?' : name[at];
        at += std::max<std::size_t>(control, 1);
    }
    return '"' + text + '"';
}

} // namespace

std::vector<WantedContent> wantedContents(soci::session& sql, const std::string& after, int most)
{
    WantedContent row;
    long long id = 0;
    long long farm = 0;
    long long files = 0;
    std::string name;
    std::string farmName;
    std::vector<WantedContent> all;
    soci::statement query =
        (sql.prepare << "SELECT sha256, size_bytes, id, name, farm_id, farm, files FROM"
                        " (SELECT f.sha256, f.size_bytes, f.id, f.name, f.farm_id,"
                        " COALESCE(m.name, '') AS farm, ROW_NUMBER() OVER (PARTITION BY f.sha256"
                        " ORDER BY f.farm_id, f.id) AS place,"
                        " COUNT(*) OVER (PARTITION BY f.sha256) AS files"
                        " FROM files f LEFT JOIN farms m ON m.id = f.farm_id"
                        " WHERE f.sha256 > :after) AS uses"
                        " WHERE place = 1 ORDER BY sha256 LIMIT :most",
         soci::into(row.sha256), soci::into(row.sizeBytes), soci::into(id), soci::into(name),
         soci::into(farm), soci::into(farmName), soci::into(files), store::use(after),
         store::use(most));
    query.execute();
    while (query.fetch()) {
        row.firstFile = "file " + std::to_string(id) + " " + shownName(name) + " of farm " +
                        std::to_string(farm) + " " + shownName(farmName) +
                        (files > 1 ? " and " + std::to_string(files - 1) + " more" : "");
        all.push_back(row);
    }
    return all;
}

ContentTotals contentTotals(soci::session& sql)
{
    ContentTotals totals;
    sql << "SELECT COUNT(*), CAST(COALESCE(SUM(size_bytes), 0) AS BIGINT) FROM"
           " (SELECT MIN(size_bytes) AS size_bytes FROM files GROUP BY sha256) AS contents",
        soci::into(totals.contents), soci::into(totals.bytes);
    return totals;
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
