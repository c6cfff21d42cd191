// The end of the database while functions run.
#include "service/store/Errors.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/RunAwaitable.h"

#include <soci/soci.h>

#include <atomic>
#include <functional>
#include <future>
#include <latch>
#include <thread>

namespace kelvo::test {
namespace {

/** Writes until writes are refused, or until `isOver` is true. Then calls `go`. */
void writeUntilRefused(store::Database& database, const std::atomic<bool>& isOver,
                       const std::function<void()>& go)
{
    Loop loop;
    int running = 0;
    bool isRefused = false;
    const auto tryToWrite = [&]() -> Async<void> {
        ++running;
        try {
            co_await database.write([](store::Transaction&) {});
        } catch (const store::StoreClosed&) {
            isRefused = true;
        }
        --running;
    };
    while (!isRefused && !isOver) {
        loop.start(tryToWrite());
        loop.io().poll();
        std::this_thread::yield();
    }
    go();
    loop.runUntil([&running] { return running == 0; });
}

TEST_P(StoreContract, EndsTheRunningFunctionsBeforeItIsFinished)
{
    std::latch running(2);
    std::promise<void> mayEnd;
    const std::shared_future<void> end = mayEnd.get_future().share();
    int answered = 0;
    const auto wait = [&running, end] {
        running.count_down();
        end.wait();
    };
    const auto write = [&]() -> Async<void> {
        auto change = [&wait](store::Transaction& t) {
            wait();
            store::addFarm(t, "Hill Farm");
        };
        co_await database->write(change);
        ++answered;
    };
    const auto read = [&]() -> Async<void> {
        auto query = [&wait](soci::session& sql) {
            wait();
            return store::allFarms(sql).size();
        };
        co_await database->read(query);
        ++answered;
    };
    Loop loop; // as an I/O thread, it must not end before the functions whose callers it has
    loop.start(write());
    loop.start(read());
    loop.io().poll();
    running.wait();

    std::atomic<bool> isFinished = false;
    std::thread disk(
        [&] { writeUntilRefused(*database, isFinished, [&mayEnd] { mayEnd.set_value(); }); });
    database->finish();
    loop.io().poll();
    EXPECT_EQ(answered, 2);
    isFinished = true;
    disk.join();
    EXPECT_THROW(addFarm("Dale Farm"), store::StoreClosed);
}

} // namespace
} // namespace kelvo::test
