#include "service/api/TransferMemory.h"

#include "service/http/Problem.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <algorithm>
#include <set>

namespace kelvo::api {

namespace {

constexpr std::uint64_t farmsAtOnce = 4; // a farm may have this part of the memory

} // namespace

/** A waiter's place in the line. A request that ends while it waits gives the place up. */
class TransferMemory::Place
{
public:
    Place(TransferMemory& owner, std::shared_ptr<Waiter> waiter)
        : owner_(owner), waiter_(std::move(waiter))
    {
        const std::lock_guard lock(owner_.mutex_);
        owner_.waiters_.push_back(waiter_);
        owner_.serveWaiters();
    }
    ~Place()
    {
        const std::lock_guard lock(owner_.mutex_);
        owner_.waiters_.remove(waiter_);
        owner_.serveWaiters(); // the next waiter may need less
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    /** Null if the waiter has no memory yet. */
    std::shared_ptr<Share> takeShare()
    {
        const std::lock_guard lock(owner_.mutex_);
        return std::move(waiter_->share);
    }

private:
    TransferMemory& owner_;
    std::shared_ptr<Waiter> waiter_;
};

Async<std::shared_ptr<TransferMemory::Share>>
TransferMemory::take(store::Id farm, std::uint64_t bytes, http::BodyReader* body)
{
    if (bytes == 0) {
        co_return std::make_shared<Share>(*this, farm, 0);
    }
    const auto waiter = std::make_shared<Waiter>(
        farm, std::min(bytes, mostBytes_),
        asio::steady_timer(co_await asio::this_coro::executor, longestWait_));
    Place place(*this, waiter);
    if (auto share = place.takeShare()) {
        co_return share;
    }
    if (body == nullptr) {
        co_await waiter->timer.async_wait(asio::as_tuple(asio::use_awaitable));
    } else if (!body->isAbandoned()) {
        body->onAbandon([&waiter] { waiter->timer.cancel(); });
        co_await waiter->timer.async_wait(asio::as_tuple(asio::use_awaitable));
        body->onAbandon({});
    }
    if (body != nullptr && body->isAbandoned()) {
        throw http::PeerGone();
    }
    if (auto share = place.takeShare()) {
        co_return share;
    }
    {
        const std::lock_guard lock(mutex_);
        ++refused_;
    }
    throw http::Problem(http::EProblem::Busy, "Too many transfers run at this time.",
                        {{"Retry-After", "5"}});
}

std::uint64_t TransferMemory::usedBytes() const
{
    const std::lock_guard lock(mutex_);
    return usedBytes_;
}

std::uint64_t TransferMemory::refused() const
{
    const std::lock_guard lock(mutex_);
    return refused_;
}

void TransferMemory::release(store::Id farm, std::uint64_t bytes)
{
    if (bytes == 0) {
        return;
    }
    const std::lock_guard lock(mutex_);
    usedBytes_ -= bytes;
    const auto ofFarm = farmBytes_.find(farm);
    ofFarm->second -= bytes;
    if (ofFarm->second == 0) {
        farmBytes_.erase(ofFarm);
    }
    serveWaiters();
}

/** Call it with the mutex. */
bool TransferMemory::fitsItsFarm(const Waiter& waiter) const
{
    const auto held = farmBytes_.find(waiter.farm);
    return held == farmBytes_.end() || held->second + waiter.bytes <= mostBytes_ / farmsAtOnce;
}

/** Call it with the mutex. */
void TransferMemory::serve(Waiter& waiter)
{
    usedBytes_ += waiter.bytes;
    farmBytes_[waiter.farm] += waiter.bytes;
    waiter.share = std::make_shared<Share>(*this, waiter.farm, waiter.bytes);
}

/** Call it with the mutex. */
void TransferMemory::serveWaiters()
{
    std::set<store::Id> full; // farms whose next transfer does not fit
    for (auto next = waiters_.begin(); next != waiters_.end();) {
        const std::shared_ptr<Waiter> waiter = *next;
        if (full.contains(waiter->farm) || !fitsItsFarm(*waiter)) {
            full.insert(waiter->farm);
            ++next;
            continue;
        }
        if (usedBytes_ + waiter->bytes > mostBytes_) {
            return;
        }
        serve(*waiter);
        next = waiters_.erase(next);
        asio::post(waiter->timer.get_executor(), [waiter] { waiter->timer.cancel(); });
    }
}

} // namespace kelvo::api
