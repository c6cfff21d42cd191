// Copies the contents and the received parts of uploads from a folder into another store.
#pragma once

#include "service/content/Contents.h"
#include "service/maintenance/Progress.h"
#include "service/maintenance/StoreFiles.h"
#include "service/store/Database.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kelvo::maintenance {

/**
 * Copies on several threads, and continues where an earlier process was killed. Each copy has the
 * digest of its source. References outlive it.
 */
class MovedContents
{
public:
    /** `root`: the folder with the folders content and uploads. */
    MovedContents(const std::filesystem::path& root, store::Database& database,
                  content::Contents& target, Progress& progress)
        : root_(root), database_(database), target_(target), progress_(progress)
    {}

    /**
     * `source` has the rows. Returns what is damaged or missing in the folder; the rest is copied.
     * Blocks. Errors: of the target.
     */
    std::vector<std::string> move(soci::session& source);

private:
    void moveContents(soci::session& source);
    void moveUploads(soci::session& source);
    void moveContent(const WantedContent& content);
    void moveUpload(const OpenUpload& upload);
    std::unique_ptr<content::Receiver> copy(const std::filesystem::path& file,
                                            const std::string& name, std::string& sha256);
    void damage(const std::string& text);

    const std::filesystem::path& root_;
    store::Database& database_;
    content::Contents& target_;
    Progress& progress_;
    std::mutex mutex_; // guards damages_
    std::vector<std::string> damages_;
};

} // namespace kelvo::maintenance
