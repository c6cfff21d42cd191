// The objects of one bucket of an S3 object store.
#pragma once

#include "service/base/Clock.h"
#include "service/objects/BucketAddress.h"
#include "service/objects/Exchange.h"
#include "service/objects/Signature.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvo::objects {

/** A larger object is neither written nor read. The limit bounds the memory of a request. */
inline constexpr std::size_t largestObjectBytes = 8UL * 1024 * 1024;

/** How long a call tries. Before attempt n the pause is `pause` * 2^(n-2), less up to half of it.
 */
struct RetryPolicy
{
    int attempts = 5;
    std::chrono::milliseconds pause{200};
    Timeouts timeouts;
    std::function<void(std::chrono::milliseconds)> sleep; // empty: sleeps on the calling thread
};

/** Counts of the calls of a bucket since its start. Thread safe. */
struct Traffic
{
    std::atomic<std::uint64_t> puts{0}; // calls, without their retries
    std::atomic<std::uint64_t> gets{0};
    std::atomic<std::uint64_t> removals{0};
    std::atomic<std::uint64_t> retries{0};
    std::atomic<std::uint64_t> failures{0}; // after the last attempt
    std::atomic<std::uint64_t> sentBytes{0};
    std::atomic<std::uint64_t> receivedBytes{0};
};

/**
 * Each call is one signed request, repeated after a failure that may pass. Objects are not
 * overwritten: the caller uses a key for one content only, so a repeated PUT does no harm.
 *
 * Keys: 1 to 200 letters, digits, '-', '_', '/' and '.', else std::invalid_argument.
 * Thread: any; all calls block, so call them on a pool. A call takes an idle connection or opens a
 * new one. Memory: the bytes of one object a call. Errors: ObjectMissing, RequestRefused,
 * StoreUnavailable.
 */
class Bucket
{
public:
    /** `clock` outlives it. Throws std::invalid_argument for an unusable address. */
    Bucket(BucketAddress address, Credentials credentials, const Clock& clock,
           RetryPolicy policy = {});

    const std::string& name() const { return address_.bucket; }

    /**
     * Returns when the store has the object. `sha256` of the bytes, in hexadecimal: the store
     * refuses other bytes.
     */
    void put(const std::string& key, std::string_view bytes, const std::string& sha256);

    /** Returns exactly these bytes of the object. `sizeBytes` is at least 1. */
    std::string get(const std::string& key, std::uint64_t offset, std::size_t sizeBytes);

    /** The size of the object. Empty if it is missing. */
    std::optional<std::uint64_t> sizeOf(const std::string& key);

    /** A missing object counts as removed. */
    void remove(const std::string& key);

    /** From now on a call tries this often, also a running call. 0: calls fail at once. */
    void limitAttempts(int most) { mostAttempts_ = most; }

    /** Whether limitAttempts() makes calls fail that would succeed later. */
    bool isLimited() const { return mostAttempts_ < policy_.attempts; }

    const Traffic& traffic() const { return traffic_; }

private:
    struct Call;
    class BorrowedExchange;

    Answer request(const Call& call);
    Answer attempt(const Call& call);
    Outgoing sign(const Call& call) const;
    void pauseBefore(int attempt) const;

    BucketAddress address_;
    Credentials credentials_;
    const Clock& clock_;
    RetryPolicy policy_;
    std::atomic<int> mostAttempts_;
    Traffic traffic_;
    std::string host_; // of the endpoint, with its port
    std::mutex mutex_; // guards idle_
    std::vector<std::unique_ptr<Exchange>> idle_;
};

} // namespace kelvo::objects
