// The end of the database while functions run.
#include "service/store/Errors.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/DialectAround.h"
#include "tests/service/support/RunAwaitable.h"

#include <soci/soci.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <future>
#include <latch>
#include <memory>
#include <system_error>
#include <thread>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

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

/** While it lives, the process has address space for some further threads only. */
class RoomForThreads
{
public:
    explicit RoomForThreads(rlim_t threads)
    {
        ::getrlimit(RLIMIT_AS, &limit_);
        ::pthread_getattr_default_np(&attributes_);
        pthread_attr_t large = attributes_;
        ::pthread_attr_setstacksize(&large, stackBytes);
        ::pthread_setattr_default_np(&large);
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t used = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
        const rlimit room{used + threads * stackBytes + stackBytes / 2, limit_.rlim_max};
        ::setrlimit(RLIMIT_AS, &room);
    }
    ~RoomForThreads()
    {
        ::setrlimit(RLIMIT_AS, &limit_);
        ::pthread_setattr_default_np(&attributes_);
    }
    RoomForThreads(const RoomForThreads&) = delete;
    RoomForThreads& operator=(const RoomForThreads&) = delete;

private:
    static constexpr rlim_t stackBytes = 1UL << 30;

    rlimit limit_{};
    pthread_attr_t attributes_{};
};

class ThreeWriters final : public DialectAround
{
public:
    using DialectAround::DialectAround;

    std::unique_ptr<soci::session> connect() const override { return connectInner(); }
    unsigned writers() const override { return 3; }
};

TEST(StoreThreads, EndIfAFurtherThreadCannotStart)
{
    if (sizeof(void*) < 8) {
        GTEST_SKIP() << "too little address space for the test's stacks";
    }
    const TempFolder folder;
    const auto start = [&folder] {
        const store::Database database(
            std::make_unique<ThreeWriters>(store::makeSqlite(folder.Path("store.sqlite"))), 2);
    };
    start();
    for (const rlim_t threads : {0UL, 1UL, 2UL, 3UL, 4UL}) {
        const RoomForThreads room(threads);
        EXPECT_THROW(start(), std::system_error) << "the first without room: " << threads;
    }
    start();
}

} // namespace
} // namespace kelvo::test
