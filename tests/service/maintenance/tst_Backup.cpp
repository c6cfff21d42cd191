// Backups and what comes back of them.
#include "service/maintenance/Backup.h"

#include "service/DataFolder.h"
#include "service/Service.h"
#include "service/maintenance/Restore.h"
#include "service/maintenance/Verify.h"
#include "service/store/Events.h"
#include "tests/service/support/KeptFiles.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <functional>

namespace kelvo::maintenance {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string refusal(const std::function<void()>& work)
{
    try {
        work();
    } catch (const StartRefused& refused) {
        return refused.what();
    }
    return "not refused";
}

class BackingUp : public test::KeptFiles
{
protected:
    BackingUp()
    {
        replaceFile(folder.path() / "ca.pem", "authority", 0644);
        fs::create_directory(folder.path() / "tls");
        replaceFile(folder.path() / "tls" / "ca.key", "key", 0600);
    }

    CopyReport back() { return backUp(folder.path(), backup()); }
    CopyReport bring(bool force = false) { return restore(backup(), restored(), force); }

    fs::path backup() const { return elsewhere.path() / "backup"; }
    fs::path restored() const { return elsewhere.path() / "data"; }

    /** A value of the restored database. */
    long long number(const std::string& query) const
    {
        const auto sql = store::makeSqlite((restored() / "kelvo.sqlite").string())->connect();
        long long value = -1;
        *sql << query, soci::into(value);
        return value;
    }

    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(elsewhere.path())) {
            found.push_back(entry.path().filename());
        }
        return found;
    }

    test::TemporaryFolder elsewhere;
};

TEST_F(BackingUp, AndBringingBackGivesTheSameFolder)
{
    const CopyReport made = back();
    EXPECT_THAT(made.damages, IsEmpty());
    EXPECT_EQ(made.contents, 2U);
    EXPECT_THAT(names(), ElementsAre("backup")) << "nothing unfinished lies about";
    EXPECT_THAT(bring().damages, IsEmpty());
    const VerifyReport report = verify(restored());
    EXPECT_THAT(report.damages, IsEmpty());
    EXPECT_THAT(report.leftovers, IsEmpty());
    EXPECT_EQ(report.contents, 2U);
    EXPECT_EQ(readFile(restored() / "uploads" / open.id), "hello");
    EXPECT_EQ(readFile(restored() / "tls" / "ca.key"), "key");
    EXPECT_EQ(fs::status(restored() / "tls" / "ca.key").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(number("SELECT COUNT(*) FROM files"), 3);
}

TEST_F(BackingUp, LeavesOutWhatNoFileRefersTo)
{
    const store::Upload crashed = begin("c.zip", 3);
    content::UploadWriter(contents, digests, crashed.id).append("abc", 3);
    contents.adopt(crashed.id, sha256Hex("abc"));
    back();
    bring();
    EXPECT_THAT(verify(restored()).leftovers, IsEmpty());
}

TEST_F(BackingUp, WorksBesideARunningService)
{
    const DataFolder running(folder.path());
    back();
    bring();
    EXPECT_TRUE(verify(restored()).isClean());
}

TEST_F(BackingUp, TellsOfDamageAndKeepsTheRest)
{
    replaceFile(pathOf("a field"), "a fXeld", 0600);
    contents.remove(sha256Hex("in the bin"));
    EXPECT_THAT(back().damages, testing::UnorderedElementsAre(HasSubstr("not what was uploaded"),
                                                              HasSubstr("is missing")));
    EXPECT_THAT(bring().damages, testing::UnorderedElementsAre(HasSubstr("damaged in the backup"),
                                                               HasSubstr("missing in the backup")));
    EXPECT_EQ(number("SELECT COUNT(*) FROM files"), 3);
}

TEST_F(BackingUp, GoesOnlyWhereNothingIs)
{
    fs::create_directory(backup());
    back();
    EXPECT_THAT(refusal([this] { back(); }), HasSubstr("is there already"));
    EXPECT_THAT(refusal([this] { backUp(elsewhere.path() / "nothing", restored()); }),
                HasSubstr("no database"));
}

TEST_F(BackingUp, LeavesNothingWhenItFails)
{
    fs::remove(pathOf("a field"));
    fs::create_directory(pathOf("a field")); // can be opened, cannot be read
    EXPECT_THROW(back(), std::system_error);
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(BackingUp, RestoresOnlyACompleteBackup)
{
    back();
    fs::remove(backup() / manifestName);
    EXPECT_THAT(refusal([this] { bring(); }), HasSubstr("not a complete backup"));
    EXPECT_FALSE(fs::exists(restored()));
}

TEST_F(BackingUp, RestoresOverNothingUnlessForced)
{
    back();
    bring();
    EXPECT_THAT(refusal([this] { bring(); }), HasSubstr("not empty"));
    replaceFile(restored() / "mine", "precious", 0600);
    bring(true);
    EXPECT_TRUE(verify(restored()).isClean());
    EXPECT_FALSE(fs::exists(restored() / "mine"));
    int kept = 0;
    for (const auto& entry : fs::recursive_directory_iterator(restored())) {
        kept += entry.path().filename() == "mine" ? 1 : 0;
    }
    EXPECT_EQ(kept, 1) << "put aside";
}

TEST_F(BackingUp, RestoresNotUnderARunningService)
{
    back();
    bring();
    const DataFolder running(restored());
    EXPECT_THAT(refusal([this] { bring(true); }), HasSubstr("another instance"));
}

TEST_F(BackingUp, MarksARestoreThatDidNotEnd)
{
    back();
    const fs::path content = contents.contentPath(sha256Hex("a field"));
    const fs::path inBackup = backup() / fs::relative(content, folder.path());
    fs::remove(inBackup);
    fs::create_directory(inBackup);
    EXPECT_THROW(bring(), std::system_error);
    ServeOptions options;
    options.dataFolder = restored();
    options.listen = "127.0.0.1:0";
    EXPECT_THAT(refusal([&options] { runService(options); }), HasSubstr("restore"));
    fs::remove(inBackup);
    fs::copy(content, inBackup);
    EXPECT_THAT(refusal([this] { bring(); }), HasSubstr("not empty"));
    bring(true);
    EXPECT_TRUE(verify(restored()).isClean());
}

TEST_F(BackingUp, GivesIdsAndCursorsFromAfterItToNothingElse)
{
    back();
    const store::File later = keep("later.zip", "made after the backup");
    const auto bounds = database.readNow(
        [this](soci::session& sql) { return store::eventBounds(sql, user.farmId()); });
    bring();
    EXPECT_GT(number("SELECT last_resource FROM farms"), later.id);
    EXPECT_GT(number("SELECT pruned_event FROM farms"), bounds.newest);
    EXPECT_EQ(number("SELECT last_event - pruned_event FROM farms"), 0);
    EXPECT_EQ(number("SELECT COUNT(*) FROM events"), 0);
}

} // namespace
} // namespace kelvo::maintenance
