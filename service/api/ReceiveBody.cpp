#include "service/api/ReceiveBody.h"

#include "service/base/Wakeup.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>

#include <algorithm>
#include <memory>

namespace kelvo::api {

namespace {

constexpr std::uint64_t ringBytes = 512 * 1024;
/** A read takes a part of the ring only, so that the next read has room while the pool writes. */
constexpr std::size_t pieceBytes = 128 * 1024;

/** Bytes between the connection and the disk, in the order of their arrival. */
class Ring
{
public:
    explicit Ring(std::size_t capacity)
        : capacity_(capacity), bytes_(std::make_unique_for_overwrite<char[]>(capacity))
    {}

    bool isEmpty() const { return added_ == taken_; }
    bool isFull() const { return added_ - taken_ == capacity_; }

    /** The free space for the next bytes. */
    asio::mutable_buffer room()
    {
        const auto at = static_cast<std::size_t>(added_ % capacity_);
        const auto left = capacity_ - static_cast<std::size_t>(added_ - taken_);
        return asio::buffer(bytes_.get() + at, std::min({left, capacity_ - at, pieceBytes}));
    }
    void add(std::size_t sizeBytes) { added_ += sizeBytes; }

    /** The oldest bytes. Not all bytes if they continue at the start of the ring. */
    asio::const_buffer oldest() const
    {
        const auto at = static_cast<std::size_t>(taken_ % capacity_);
        const auto held = static_cast<std::size_t>(added_ - taken_);
        return asio::buffer(bytes_.get() + at, std::min(held, capacity_ - at));
    }
    void take(std::size_t sizeBytes) { taken_ += sizeBytes; }

private:
    std::size_t capacity_;
    std::unique_ptr<char[]> bytes_;
    std::uint64_t added_ = 0; // bytes since the start
    std::uint64_t taken_ = 0;
};

/** A coroutine that reads and a coroutine that writes, both on the connection's thread. */
class Receiving
{
public:
    Receiving(http::BodyReader& body, const Sink& sink, WorkPool& pool, const Pause& pause)
        : body_(body),
          sink_(sink),
          pool_(pool),
          pause_(pause),
          ring_(static_cast<std::size_t>(std::min(ringBytes, body.remainingBytes()))),
          arrival_(body.executor()),
          room_(body.executor())
    {}

    /** False if the peer left or stalled. Ends early if a write fails. */
    Async<bool> read()
    {
        http::IoResult got;
        while (body_.remainingBytes() > 0 && !got.error && !failed_) {
            if (ring_.isFull()) {
                co_await room_.sleepUntil(never);
                continue;
            }
            got = co_await body_.readSome(ring_.room());
            ring_.add(got.bytes);
            arrival_.wake();
            if (isIdle_ && !got.error) {
                // Lets write() start: with a fast peer this coroutine would never suspend.
                co_await asio::post(body_.executor(), asio::use_awaitable);
            }
        }
        ended_ = true;
        arrival_.wake();
        co_return !got.error;
    }

    Async<void> write()
    {
        while (!ended_ || !ring_.isEmpty()) {
            if (ring_.isEmpty()) {
                co_await awaitArrival();
                if (ring_.isEmpty() && !ended_) {
                    co_await runOnPool(pause_.work);
                    hasNewBytes_ = false;
                }
                continue;
            }
            const asio::const_buffer piece = ring_.oldest();
            std::function<void()> work = [this, piece] { sink_(piece.data(), piece.size()); };
            co_await runOnPool(std::move(work));
            hasNewBytes_ = true;
            ring_.take(piece.size());
            room_.wake();
        }
    }

private:
    using Time = std::chrono::steady_clock;
    static constexpr auto never = Time::time_point::max();

    /** Returns when bytes arrive, when the body ends, or after a pause that has work. */
    Async<void> awaitArrival()
    {
        const bool hasWork = pause_.work && hasNewBytes_;
        const auto pauseEnd = hasWork ? Time::now() + pause_.after : never;
        isIdle_ = true;
        while (ring_.isEmpty() && !ended_ && Time::now() < pauseEnd) {
            co_await arrival_.sleepUntil(pauseEnd);
        }
        isIdle_ = false;
    }

    Async<void> runOnPool(std::function<void()> work)
    {
        try {
            co_await pool_.run(std::move(work));
        } catch (...) {
            failed_ = true;
            room_.wake();
            throw;
        }
    }

    http::BodyReader& body_;
    const Sink& sink_;
    WorkPool& pool_;
    const Pause& pause_;
    Ring ring_;
    Wakeup arrival_; // write() sleeps on it
    Wakeup room_;    // read() sleeps on it
    bool isIdle_ = false;
    bool hasNewBytes_ = false; // the sink has taken bytes since the last pause
    bool ended_ = false;
    bool failed_ = false;
};

} // namespace

Async<bool> receiveBody(http::BodyReader& body, const Sink& sink, WorkPool& pool,
                        const Pause& pause)
{
    using namespace asio::experimental::awaitable_operators;

    if (body.remainingBytes() == 0) {
        co_return true;
    }
    Receiving receiving(body, sink, pool, pause);
    co_return co_await (receiving.read() && receiving.write());
}

} // namespace kelvo::api
