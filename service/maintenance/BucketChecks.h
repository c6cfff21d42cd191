// Checks the contents and uploads whose bytes are in a bucket.
#pragma once

#include "service/maintenance/Progress.h"
#include "service/maintenance/StoreFiles.h"
#include "service/maintenance/Verify.h"
#include "service/objects/Bucket.h"

#include <functional>
#include <mutex>
#include <set>
#include <string>

namespace kelvo::maintenance {

/**
 * Reads all chunks on several threads and compares their digests. Instances may serve meanwhile: a
 * content with a damage is checked a second time, because its chunks may have been replaced.
 * Memory: one chunk a thread, and the rows of a thousand contents.
 */
class BucketChecks
{
public:
    /** Runs a query in a read transaction. Called on one thread at a time. */
    using Read = std::function<void(const std::function<void(soci::session&)>& query)>;

    BucketChecks(Read read, objects::Bucket& bucket, Progress& progress)
        : read_(std::move(read)), bucket_(bucket), progress_(progress)
    {}

    /**
     * Adds what it finds to `report`. Contents in `right` count as read; with `right`, adds the
     * digests of the right contents. Blocks. Errors: RequestRefused, StoreUnavailable, the errors
     * of `read`.
     */
    void run(VerifyReport& report, std::set<std::string>* right = nullptr);

private:
    void read(const std::function<void(soci::session&)>& query);
    std::string damageOf(const WantedContent& content);
    std::string damageOf(const OpenUpload& upload);
    void checkPage(const std::vector<WantedContent>& page, VerifyReport& report,
                   std::set<std::string>* right);
    void checkUploads(VerifyReport& report);

    Read read_;
    objects::Bucket& bucket_;
    Progress& progress_;
    std::mutex reading_;   // a call of read_
    std::mutex reporting_; // guards the report and the set of right contents
};

} // namespace kelvo::maintenance
