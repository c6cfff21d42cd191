#include "service/BucketHome.h"

#include "service/BucketMarker.h"
#include "service/DataFolder.h"
#include "service/base/Digest.h"
#include "service/base/Log.h"
#include "service/base/Random.h"
#include "service/objects/ObjectErrors.h"
#include "service/store/ChunkTable.h"

#include <stdexcept>

namespace kelvo {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

constexpr unsigned threads = 16;
constexpr const char* probeText = "probe";

/** At the worst a call takes a minute and its pauses. Eight MiB in 15 s are 4.5 Mbit/s. */
objects::RetryPolicy patient()
{
    objects::RetryPolicy policy;
    policy.attempts = 4;
    policy.timeouts = {3s, 15s};
    return policy;
}

/** The four requests of a probe fit into the bound of /readyz when all is well. */
objects::RetryPolicy hasty()
{
    objects::RetryPolicy policy;
    policy.attempts = 1;
    policy.timeouts = {1s, 1500ms};
    return policy;
}

/** Files that a killed service left there have no use. */
fs::path emptyScratch(const fs::path& dataFolder)
{
    const fs::path folder = dataFolder / "scratch";
    fs::remove_all(folder);
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::owner_all);
    return folder;
}

} // namespace

objects::Credentials requireCredentials()
{
    try {
        return objects::findCredentials();
    } catch (const std::exception& error) {
        throw StartRefused(error.what());
    }
}

BucketHome::BucketHome(const objects::BucketAddress& address, const HomeParts& parts)
    : parts_(parts),
      scratch_(emptyScratch(parts.dataFolder)),
      bucket_(address, requireCredentials(), machineClock_, patient()),
      probes_(address, requireCredentials(), machineClock_, hasty()),
      probeKey_("probes/" + randomHex(16)),
      contents_(parts.database, bucket_, parts.clock),
      pool_(threads)
{
    try {
        probe();
    } catch (const objects::StoreUnavailable& error) {
        logWarning("object-store-unavailable", error.what()); // it may answer later
    } catch (const std::exception& error) {
        throw StartRefused("cannot use the bucket " + address.bucket + ": " + error.what());
    }
}

void BucketHome::removeUnused()
{
    const auto unused = parts_.database.readNow(store::unusedContents);
    for (const std::string& sha256 : unused) {
        contents_.remove(sha256);
    }
    const auto orphans = parts_.database.readNow(store::orphanedUploads);
    for (const std::string& upload : orphans) {
        contents_.removeUpload(upload);
    }
    countStored();
    if (const std::size_t removed = contents_.removeDoomedObjects(); removed > 0) {
        logInfo("objects-removed", std::to_string(removed));
    }
    countStored();
}

void BucketHome::countStored()
{
    const auto stored = parts_.database.readNow(store::storedChunks);
    storedBytes_ = static_cast<double>(stored.bytes);
    doomedObjects_ = static_cast<double>(stored.doomedObjects);
}

void BucketHome::probe()
{
    requireMarker(parts_.database.readNow(knownObject), probes_);
    const std::string text = probeText;
    probes_.put(probeKey_, text, sha256Hex(text));
    if (probes_.get(probeKey_, 0, text.size()) != text) {
        throw std::runtime_error("the object store returns other bytes than were written");
    }
    probes_.remove(probeKey_);
    setMarker(parts_.database, probes_);
}

void BucketHome::showIn(metrics::Metrics& metrics) const
{
    using Samples = std::vector<metrics::Metrics::Sample>;
    const objects::Traffic& traffic = bucket_.traffic();
    metrics.show({"kelvo_objects_requests_total", "counter",
                  "Requests to the object store, without their retries.", [&traffic] {
                      return Samples{{"method=\"PUT\"", static_cast<double>(traffic.puts)},
                                     {"method=\"GET\"", static_cast<double>(traffic.gets)},
                                     {"method=\"DELETE\"", static_cast<double>(traffic.removals)}};
                  }});
    metrics.show("kelvo_objects_failures_total", "counter",
                 "Requests to the object store that failed after their last attempt.",
                 [&traffic] { return static_cast<double>(traffic.failures); });
    metrics.show("kelvo_objects_retries_total", "counter",
                 "Repeated attempts of requests to the object store.",
                 [&traffic] { return static_cast<double>(traffic.retries); });
    metrics.show({"kelvo_objects_transferred_bytes_total", "counter",
                  "Bytes of objects to and from the object store.", [&traffic] {
                      return Samples{
                          {"direction=\"sent\"", static_cast<double>(traffic.sentBytes)},
                          {"direction=\"received\"", static_cast<double>(traffic.receivedBytes)}};
                  }});
    metrics.show("kelvo_objects_stored_bytes", "gauge",
                 "Bytes of the contents in the object store, at the latest clean-up.",
                 [this] { return storedBytes_.load(); });
    metrics.show("kelvo_objects_doomed", "gauge",
                 "Objects that the clean-up removes a day after their last use.",
                 [this] { return doomedObjects_.load(); });
    metrics.show("kelvo_objects_removals_failed_total", "counter",
                 "Objects that could not be removed; each is tried again after a day.",
                 [this] { return static_cast<double>(contents_.failedRemovals()); });
}

void BucketHome::finish()
{
    bucket_.limitAttempts(0);
    pool_.stop();
    parts_.filePool.stop();
}

} // namespace kelvo
