// The contents in a bucket of an object store.
#pragma once

#include "service/ContentsHome.h"
#include "service/chunks/ChunkedContents.h"
#include "service/objects/Bucket.h"

#include <atomic>

namespace kelvo {

/** Its pool has a fixed number of threads: a store that hangs delays only what needs the store. */
class BucketHome final : public ContentsHome
{
public:
    /**
     * Throws StartRefused: credentials are missing, the store refuses them, or the bucket is not
     * the bucket of this database.
     */
    BucketHome(const objects::BucketAddress& address, const HomeParts& parts);

    content::Contents& contents() override { return contents_; }
    WorkPool& pool() override { return pool_; }
    content::ContentStore* folder() override { return nullptr; }
    std::filesystem::path scratchFolder() const override { return scratch_; }
    DiskReserve* scratchReserve() override { return &parts_.reserve; }
    void removeUnused() override;
    void probe() override;
    void showIn(metrics::Metrics& metrics) const override;
    void beginStop() override { bucket_.limitAttempts(1); }
    void finish() override;

private:
    void countStored();

    HomeParts parts_;
    std::filesystem::path scratch_;
    const SystemClock machineClock_; // the service's clock is wrong for a while after a clock jump
    objects::Bucket bucket_;
    objects::Bucket probes_; // with one short attempt for each request
    std::string probeKey_;
    chunks::ChunkedContents contents_;
    std::atomic<double> storedBytes_{0};
    std::atomic<double> doomedObjects_{0};
    WorkPool pool_; // the last member: its threads use the others
};

/** As objects::findCredentials(). Throws StartRefused instead of its errors. */
objects::Credentials requireCredentials();

} // namespace kelvo
