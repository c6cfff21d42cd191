// Copying a database beside the service that uses it.
#include "service/maintenance/DatabaseCopy.h"

#include "service/DataFolder.h"
#include "tests/service/support/OtherProgram.h"
#include "tests/service/support/StoredFiles.h"

#include <gmock/gmock.h>
#include <soci/soci.h>
#include <sqlite3.h>

#include <latch>
#include <thread>

namespace kelvo::maintenance {
namespace {

/** Notices the first wait of SQLite for a lock. One watch at a time. */
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

    void untilSqliteWaits() { waits_.wait(); }

private:
    static inline std::latch waits_{1};

    sqlite3_vfs* real_;
    sqlite3_vfs watched_;
};

class DatabaseCopying : public test::StoredFiles
{
protected:
    std::filesystem::path target() const { return elsewhere.Path() / "copy.sqlite"; }

    test::TempFolder elsewhere;
};

TEST_F(DatabaseCopying, LetsTheServiceCommitWhileTheTargetIsSlow)
{
    const DataFolder running(folder.Path());
    test::disableBusyTimeout(database);
    copyDatabase(folder.Path(), target()); // so that there is something to keep
    test::OtherProgram slow(*store::makeSqliteCopy(target().string()));
    slow.lockWrites();
    LockWatch watch;
    std::thread copying([this] { copyDatabase(folder.Path(), target()); });
    watch.untilSqliteWaits();
    EXPECT_NO_THROW(addFile("meanwhile.zip", "committed meanwhile"));
    slow.unlock();
    copying.join();
    EXPECT_EQ(files().size(), 3U);
}

TEST_F(DatabaseCopying, LeavesNothingBesideTheCopy)
{
    const DataFolder running(folder.Path());
    copyDatabase(folder.Path(), target());
    for (const auto& entry : std::filesystem::directory_iterator(elsewhere.Path())) {
        EXPECT_EQ(entry.path(), target());
    }
    long long rows = 0;
    *store::makeSqliteCopy(target().string())->connect() << "SELECT COUNT(*) FROM files",
        soci::into(rows);
    EXPECT_EQ(rows, 3) << "two in an inbox, one in the bin";
}

} // namespace
} // namespace kelvo::maintenance
