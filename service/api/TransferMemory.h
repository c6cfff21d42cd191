// The memory of all running uploads and downloads.
#pragma once

#include "service/base/Async.h"
#include "service/http/BodyReader.h"
#include "service/store/Records.h"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace kelvo::api {

/**
 * Bounds the memory of all transfers together; the transfers of a farm may have a quarter of it. A
 * transfer takes all its memory at once and holds it to its end, so no transfer waits for a
 * transfer that waits. The transfers get memory in the order in which they ask, but a farm that has
 * its quarter does not keep other farms waiting.
 *
 * Thread: any; waiting suspends the coroutine. Ownership: outlives its shares.
 */
class TransferMemory
{
public:
    explicit TransferMemory(std::uint64_t mostBytes = defaultBytes,
                            std::chrono::milliseconds longestWait = std::chrono::seconds(10))
        : mostBytes_(mostBytes), longestWait_(longestWait)
    {}

    static constexpr std::uint64_t defaultBytes = 512ULL * 1024 * 1024;

    /** The memory of one transfer. May be destroyed on any thread. */
    class Share
    {
    public:
        Share(TransferMemory& owner, store::Id farm, std::uint64_t bytes)
            : owner_(owner), farm_(farm), bytes_(bytes)
        {}
        ~Share() { owner_.release(farm_, bytes_); }
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

    private:
        TransferMemory& owner_;
        store::Id farm_;
        std::uint64_t bytes_;
    };

    /**
     * A share above the limit is cut to the limit. The only transfer of a farm may have more than a
     * quarter. A transfer without bytes does not wait. If another request takes over `body`, the
     * wait ends at once. Throws Problem (busy) after the longest wait, PeerGone.
     */
    Async<std::shared_ptr<Share>> take(store::Id farm, std::uint64_t bytes,
                                       http::BodyReader* body = nullptr);

    std::uint64_t usedBytes() const;

    /** The transfers that were refused since the start. */
    std::uint64_t refused() const;

private:
    struct Waiter
    {
        Waiter(store::Id ofFarm, std::uint64_t wanted, asio::steady_timer wait)
            : farm(ofFarm), bytes(wanted), timer(std::move(wait))
        {}

        store::Id farm;
        std::uint64_t bytes;
        asio::steady_timer timer; // used on its executor only
        std::shared_ptr<Share> share;
    };
    class Place;

    bool fitsItsFarm(const Waiter& waiter) const;
    void release(store::Id farm, std::uint64_t bytes);
    void serve(Waiter& waiter);
    void serveWaiters();

    const std::uint64_t mostBytes_;
    const std::chrono::milliseconds longestWait_;
    mutable std::mutex mutex_; // guards the members below, and the shares of the waiters
    std::uint64_t usedBytes_ = 0;
    std::map<store::Id, std::uint64_t> farmBytes_; // of usedBytes_; no entry: 0
    std::uint64_t refused_ = 0;
    std::list<std::shared_ptr<Waiter>> waiters_;
};

} // namespace kelvo::api
