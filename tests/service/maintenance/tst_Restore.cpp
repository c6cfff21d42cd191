// The restored data folder, and the folder after a failed restore.
#include "service/maintenance/Restore.h"

#include "service/DataFolder.h"
#include "service/Service.h"
#include "service/maintenance/StoreFiles.h"
#include "service/maintenance/Verify.h"
#include "service/store/EventTable.h"
#include "tests/service/maintenance/BackupFixture.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::maintenance {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;

class Restoring : public BackupFixture
{};

TEST_F(Restoring, RestoresReadableContents)
{
    makeBackup();
    const fs::path content = contentPath(backup(), pathOf("a field").filename());
    fs::remove(content);
    fs::create_symlink("/dev/null", content);
    EXPECT_THAT(restoreBackup().damages, testing::Contains(HasSubstr("cannot be read")));
    EXPECT_EQ(number("SELECT COUNT(*) FROM files"), 3);
}

TEST_F(Restoring, NeedsACompleteBackup)
{
    makeBackup();
    fs::remove(backup() / manifestName);
    EXPECT_THAT(refusal([this] { restoreBackup(); }), HasSubstr("not a complete backup"));
    EXPECT_FALSE(fs::exists(restored()));
}

TEST_F(Restoring, RefusesAFolderThatIsNotEmptyUnlessForced)
{
    makeBackup();
    restoreBackup();
    EXPECT_THAT(refusal([this] { restoreBackup(); }), HasSubstr("not empty"));
    replaceFile(restored() / "mine", "precious", 0600);
    restoreBackup(true);
    EXPECT_TRUE(verify(restored()).isClean());
    EXPECT_FALSE(fs::exists(restored() / "mine"));
    int kept = 0;
    for (const auto& entry : fs::recursive_directory_iterator(restored())) {
        kept += entry.path().filename() == "mine" ? 1 : 0;
    }
    EXPECT_EQ(kept, 1) << "moved to a folder replaced-TIME";
}

TEST_F(Restoring, RefusesTheFolderOfARunningService)
{
    makeBackup();
    restoreBackup();
    const DataFolder running(restored());
    EXPECT_THAT(refusal([this] { restoreBackup(true); }), HasSubstr("another instance"));
}

TEST_F(Restoring, ChangesNothingWhenItFails)
{
    makeBackup();
    restoreBackup();
    const fs::path key = backup() / "tls" / "ca.key";
    const fs::path aside = elsewhere.Path() / "ca.key";
    fs::rename(key, aside);
    fs::create_symlink(aside, key); // a copy follows no link
    replaceFile(restored() / "mine", "precious", 0600);
    const auto before = namesIn(restored());
    EXPECT_THROW(restoreBackup(true), std::system_error);
    EXPECT_EQ(namesIn(restored()), before);
    EXPECT_TRUE(verify(restored()).isClean());
    fs::rename(aside, key);
    restoreBackup(true);
    EXPECT_TRUE(verify(restored()).isClean());
}

TEST_F(Restoring, LeavesNothingInANewFolderWhenItFails)
{
    makeBackup();
    fs::create_symlink(backup() / "ca.pem", backup() / "tls" / "link"); // a copy follows no link
    EXPECT_THROW(restoreBackup(), std::system_error);
    EXPECT_THAT(namesIn(restored()), ElementsAre("lock"));
}

TEST_F(Restoring, NeedsNoForceAfterAKilledRestore)
{
    makeBackup();
    fs::create_directories(restored() / "restore.part-0123" / "content");
    restoreBackup();
    EXPECT_TRUE(verify(restored()).isClean());
    EXPECT_THAT(namesIn(restored()), testing::Not(testing::Contains("restore.part-0123")));
}

TEST_F(Restoring, LetsNoServiceStartOnAnUnfinishedRestore)
{
    makeBackup();
    restoreBackup();
    replaceFile(restored() / unfinishedRestoreName, "",
                0600); // a crash during the moves leaves this mark
    ServeOptions options;
    options.dataFolder = restored();
    options.listen = "127.0.0.1:0";
    EXPECT_THAT(refusal([&options] { runService(options); }), HasSubstr("restore"));
    EXPECT_THAT(refusal([this] { restoreBackup(); }), HasSubstr("not empty"));
    restoreBackup(true);
    EXPECT_TRUE(verify(restored()).isClean());
    EXPECT_FALSE(fs::exists(restored() / unfinishedRestoreName));
}

TEST_F(Restoring, GivesFilesRestoredByRootToTheFoldersOwner)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    makeBackup();
    constexpr uid_t owner = 4321;
    fs::create_directory(restored());
    ASSERT_EQ(::chown(restored().c_str(), owner, owner), 0);
    restoreBackup();
    restoreBackup(true);
    int seen = 0;
    for (const auto& entry : fs::recursive_directory_iterator(restored())) {
        struct stat status
        {};
        ASSERT_EQ(::lstat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, owner) << entry.path();
        EXPECT_EQ(status.st_gid, owner) << entry.path();
        ++seen;
    }
    EXPECT_GT(seen, 10);
}

TEST_F(Restoring, RefusesABackupWithoutADatabase)
{
    makeBackup();
    fs::remove(backup() / "kelvo.sqlite");
    EXPECT_THAT(refusal([this] { restoreBackup(); }), HasSubstr("not a complete backup"));
    EXPECT_FALSE(fs::exists(backup() / "kelvo.sqlite")) << "the check made a database";
}

TEST_F(Restoring, DoesNotReuseIdsAndCursorsFromAfterTheBackup)
{
    makeBackup();
    const store::File later = addFile("later.zip", "made after the backup");
    const auto bounds = database.readNow(
        [this](soci::session& sql) { return store::eventBounds(sql, user.farmId()); });
    restoreBackup();
    EXPECT_GT(number("SELECT last_resource FROM farms"), later.id);
    EXPECT_GT(number("SELECT pruned_event FROM farms"), bounds.newest);
    EXPECT_EQ(number("SELECT last_event - pruned_event FROM farms"), 0);
    EXPECT_EQ(number("SELECT COUNT(*) FROM events"), 0);
}

} // namespace
} // namespace kelvo::maintenance
