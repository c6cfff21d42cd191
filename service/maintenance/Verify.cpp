#include "service/maintenance/Verify.h"

#include "service/BucketHome.h"
#include "service/DataFolder.h"
#include "service/base/Clock.h"
#include "service/base/FileStatus.h"
#include "service/content/FileStamp.h"
#include "service/maintenance/BucketChecks.h"
#include "service/maintenance/DatabaseChecks.h"
#include "service/maintenance/DatabaseCopy.h"
#include "service/maintenance/StoreFiles.h"

#include <soci/soci.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <system_error>

#include <fcntl.h>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

/** One pass over a folder. */
class Inspection
{
public:
    /** `bucket`: null without an option for the contents. */
    Inspection(const fs::path& folder, objects::Bucket* bucket, const std::string& bucketName,
               std::set<std::string>& right, Progress& progress)
        : folder_(folder),
          bucket_(bucket),
          bucketName_(bucketName),
          verified_(right),
          progress_(progress)
    {}

    VerifyReport run()
    {
        try {
            inspect();
        } catch (const soci::soci_error& error) {
            damage(std::string("database: cannot be read: ") + error.what());
        }
        return std::move(report_);
    }

private:
    void inspect()
    {
        const DatabaseSnapshot snapshot(folder_);
        if (fs::exists(folder_ / unfinishedRestoreName)) {
            damage("a restore is unfinished");
        }
        for (const std::string& wrong : checkDatabase(snapshot.sql())) {
            damage(wrong);
        }
        const std::string place = placeOfContents(snapshot.sql());
        requirePlace(place);
        if (bucket_ != nullptr) {
            const auto read = [&snapshot](const auto& query) { query(snapshot.sql()); };
            BucketChecks(read, *bucket_, progress_).run(report_, &verified_);
            return;
        }
        root_ = contentsRoot(place, folder_);
        const auto contents = wantedContents(snapshot.sql());
        const ContentTotals totals = contentTotals(snapshot.sql());
        progress_.begin("contents checked", static_cast<std::uint64_t>(totals.contents),
                        static_cast<std::uint64_t>(totals.bytes));
        for (const WantedContent& content : contents) {
            check(content);
            progress_.add(1, static_cast<std::uint64_t>(content.sizeBytes));
        }
        findUnwanted(contents);
        checkUploads(openUploads(snapshot.sql()));
    }

    void requirePlace(const std::string& place) const
    {
        if (place != bucketName_ && (bucket_ != nullptr || place.starts_with("s3:"))) {
            throw StartRefused("the contents are in " + (place.empty() ? "a folder" : place) +
                               ": correct the option --contents");
        }
    }

    void damage(std::string text) { report_.damages.push_back(std::move(text)); }

    void check(const WantedContent& content)
    {
        ++report_.contents;
        const std::string name = "content " + content.sha256 + " (" + content.firstFile + "): ";
        try {
            const FileDescriptor file =
                openFile(contentPath(root_, content.sha256), O_RDONLY | O_NOFOLLOW);
            const auto size = content::stampOf(file.get()).sizeBytes;
            if (size != content.sizeBytes) {
                damage(name + "has " + std::to_string(size) + " bytes instead of " +
                       std::to_string(content.sizeBytes));
                return;
            }
            if (!verified_.contains(content.sha256)) {
                if (content::digestOf(file.get()) != content.sha256) {
                    damage(name + "its bytes differ from the uploaded bytes");
                    return;
                }
                verified_.insert(content.sha256);
            }
            report_.bytes += static_cast<std::uint64_t>(size);
        } catch (const std::system_error& error) {
            damage(name + (error.code() == std::errc::no_such_file_or_directory
                               ? "is missing"
                               : "cannot be read: " + error.code().message()));
        }
    }

    void findUnwanted(const std::vector<WantedContent>& wanted)
    {
        std::set<fs::path> expected;
        for (const WantedContent& content : wanted) {
            expected.insert(contentPath(root_, content.sha256));
        }
        for (const fs::path& file : contentFiles(root_)) {
            if (!expected.contains(file)) {
                report_.leftovers.push_back("content/" + file.parent_path().filename().string() +
                                            "/" + file.filename().string() +
                                            ": no file refers to it");
            }
        }
    }

    void checkUploads(const std::vector<OpenUpload>& uploads)
    {
        std::set<std::string> open;
        for (const OpenUpload& upload : uploads) {
            open.insert(upload.id);
            const auto status = statusOf(root_ / "uploads" / upload.id);
            // Without a file nothing was received yet, or a crash lost it.
            if (status && status->sizeBytes > upload.lengthBytes) {
                damage("upload " + upload.id + ": is longer than its announced length");
            }
        }
        std::error_code missing;
        for (const auto& entry : fs::directory_iterator(root_ / "uploads", missing)) {
            const std::string name = entry.path().filename();
            if (!open.contains(name)) {
                report_.leftovers.push_back("uploads/" + name +
                                            ": no unfinished upload refers to it");
            }
        }
    }

    const fs::path& folder_;
    objects::Bucket* bucket_;
    const std::string& bucketName_;   // as the database records it
    fs::path root_;                   // of contents and uploads in a folder
    std::set<std::string>& verified_; // digests of checked contents; contents never change
    Progress& progress_;
    VerifyReport report_;
};

} // namespace

VerifyReport verify(const fs::path& dataFolder, const std::optional<ContentsPlace>& place)
{
    const SystemClock clock;
    std::optional<objects::Bucket> bucket;
    if (place && place->bucket) {
        bucket.emplace(*place->bucket, requireCredentials(), clock);
    }
    objects::Bucket* const used = bucket ? &*bucket : nullptr;
    const std::string name = place ? place->name(dataFolder) : "";
    std::set<std::string> right;
    bool runs = isInUse(dataFolder);
    Progress progress;
    VerifyReport report = Inspection(dataFolder, used, name, right, progress).run();
    runs = isInUse(dataFolder) || runs;
    if (runs && !report.damages.empty()) {
        // A content that the service removed after the database was copied is missing in one pass
        // only.
        VerifyReport again = Inspection(dataFolder, used, name, right, progress).run();
        std::erase_if(again.damages, [&report](const std::string& damage) {
            return std::find(report.damages.begin(), report.damages.end(), damage) ==
                   report.damages.end();
        });
        report = std::move(again);
    }
    report.serviceRuns = runs;
    if (runs) {
        report.leftovers.clear();
    }
    return report;
}

} // namespace kelvo::maintenance
