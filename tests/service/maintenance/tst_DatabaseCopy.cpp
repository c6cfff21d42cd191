// How a database is copied beside the service that uses it.
#include "service/maintenance/DatabaseCopy.h"

#include "service/DataFolder.h"
#include "tests/service/support/KeptFiles.h"
#include "tests/service/support/OtherProgram.h"

#include <gmock/gmock.h>
#include <soci/soci.h>
#include <sqlite3.h>

#include <latch>
#include <thread>

namespace kelvo::maintenance {
namespace {

/** Tells of the first time that SQLite waits for somebody's lock. One at a time. */
class LockWatch
{
public:
    LockWatch() : real_(sqlite3_vfs_find(nullptr)), watched_(*real_)
    {
        watched_.zName = "watched";
        watched_.xSleep = [](sqlite3_vfs*, int microseconds) {
            if (!waits_.try_wait()) {
                waits_.count_down();
            }
            sqlite3_vfs* const real = sqlite3_vfs_find("unix");
            return real->xSleep(real, microseconds);
        };
        sqlite3_vfs_register(&watched_, 1);
    }
    ~LockWatch()
    {
        sqlite3_vfs_register(real_, 1);
        sqlite3_vfs_unregister(&watched_);
    }
    LockWatch(const LockWatch&) = delete;
    LockWatch& operator=(const LockWatch&) = delete;

    void untilSomebodyWaits() { waits_.wait(); }

private:
    static inline std::latch waits_{1};

    sqlite3_vfs* real_;
    sqlite3_vfs watched_;
};

class DatabaseCopying : public test::KeptFiles
{
protected:
    std::filesystem::path target() const { return elsewhere.Path() / "copy.sqlite"; }

    test::TempFolder elsewhere;
};

TEST_F(DatabaseCopying, LetsTheServiceCommitHoweverLongTheTargetTakes)
{
    const DataFolder running(folder.Path());
    test::makeImpatient(database);
    copyDatabase(folder.Path(), target()); // so that there is something to keep
    test::OtherProgram slow(target());
    slow.keep();
    LockWatch watch;
    std::thread copying([this] { copyDatabase(folder.Path(), target()); });
    watch.untilSomebodyWaits();
    EXPECT_NO_THROW(keep("meanwhile.zip", "committed meanwhile"));
    slow.letGo();
    copying.join();
    EXPECT_EQ(files().size(), 3U);
}

TEST_F(DatabaseCopying, LeavesTheCopyAndNothingElse)
{
    const DataFolder running(folder.Path());
    copyDatabase(folder.Path(), target());
    for (const auto& entry : std::filesystem::directory_iterator(elsewhere.Path())) {
        EXPECT_EQ(entry.path(), target());
    }
    long long rows = 0;
    *store::makeSqlite(target().string())->connect() << "SELECT COUNT(*) FROM files",
        soci::into(rows);
    EXPECT_EQ(rows, 3) << "two in an inbox, one in the bin";
}

} // namespace
} // namespace kelvo::maintenance
