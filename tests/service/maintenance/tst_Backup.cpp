// Backups and what comes back of them.
#include "service/maintenance/Backup.h"

#include "service/DataFolder.h"
#include "service/Service.h"
#include "service/maintenance/Restore.h"
#include "service/maintenance/StoreFiles.h"
#include "service/maintenance/Verify.h"
#include "service/store/Events.h"
#include "service/store/Files.h"
#include "tests/service/support/KeptFiles.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <algorithm>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

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

    fs::path makePipe(const std::string& sha256) const
    {
        const fs::path path = contents.contentPath(sha256);
        fs::create_directories(path.parent_path());
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return path;
    }

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

TEST_F(BackingUp, IsNotTornByWhatComesAndGoesMeanwhile)
{
    const DataFolder running(folder.path());
    std::vector<std::string> texts{"one that comes", "one that comes and goes"};
    std::sort(texts.begin(), texts.end(), [](const auto& left, const auto& right) {
        return sha256Hex(left) < sha256Hex(right); // the order in which they are copied
    });
    // Pipes in the place of contents hold the backup up where it reads them: opening one for
    // writing waits for that.
    const fs::path firstPipe = makePipe(std::string(64, '0'));
    std::vector<std::string> damages{"not made"};
    std::thread making([&] { damages = back().damages; });
    FileDescriptor first = openFile(firstPipe, O_WRONLY);
    // It has its list of contents and no database yet.
    keep("comes.zip", texts[0]);
    const store::File goes = keep("goes.zip", texts[1]);
    contents.remove(sha256Hex(texts[0]));
    const fs::path secondPipe = makePipe(sha256Hex(texts[0]));
    first.reset();
    FileDescriptor second = openFile(secondPipe, O_WRONLY);
    // It has the database, with both of them.
    database.writeNow([&](store::Transaction& t) {
        store::moveToBin(t, user.farmId(), goes.id, "olga", 0);
        store::emptyBin(t, 1);
    });
    contents.remove(sha256Hex(texts[1]));
    writeAll(second.get(), texts[0].data(), texts[0].size());
    second.reset();
    making.join();
    EXPECT_THAT(damages, IsEmpty());
    EXPECT_THAT(bring().damages, IsEmpty());
    const VerifyReport report = verify(restored());
    EXPECT_THAT(report.damages, IsEmpty());
    EXPECT_THAT(report.leftovers, IsEmpty());
    EXPECT_EQ(number("SELECT COUNT(*) FROM files WHERE name = 'comes.zip'"), 1);
    EXPECT_EQ(number("SELECT COUNT(*) FROM files WHERE name = 'goes.zip'"), 0);
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

TEST_F(BackingUp, NeverLiesInWhatItIsABackupOf)
{
    EXPECT_THAT(refusal([this] { backUp(folder.path(), folder.path() / "backup" / "one"); }),
                HasSubstr("in each other"));
    back();
    for (const fs::path& target : {backup(), backup() / "data", elsewhere.path()}) {
        EXPECT_THAT(refusal([&] { restore(backup(), target, true); }), HasSubstr("in each other"));
    }
    EXPECT_THAT(names(), ElementsAre("backup"));
    bring();
    EXPECT_TRUE(verify(restored()).isClean());
}

TEST_F(BackingUp, TellsWhatCannotBeReadAndKeepsTheRest)
{
    fs::remove(pathOf("a field"));
    fs::create_directory(pathOf("a field")); // can be opened, cannot be read
    const CopyReport made = back();
    EXPECT_THAT(made.damages, ElementsAre(HasSubstr("cannot be read")));
    EXPECT_EQ(made.contents, 1U);
    EXPECT_THAT(bring().damages, ElementsAre(HasSubstr("missing in the backup")));
}

TEST_F(BackingUp, RestoresWhatCanBeRead)
{
    back();
    const fs::path content = contentPath(backup(), pathOf("a field").filename());
    fs::remove(content);
    fs::create_symlink("/dev/null", content);
    EXPECT_THAT(bring().damages, testing::Contains(HasSubstr("cannot be read")));
    EXPECT_EQ(number("SELECT COUNT(*) FROM files"), 3);
}

TEST_F(BackingUp, LeavesNothingWhenItFails)
{
    replaceFile(elsewhere.path() / "file", "", 0600);
    EXPECT_ANY_THROW(backUp(folder.path(), elsewhere.path() / "file" / "backup"));
    EXPECT_THAT(names(), ElementsAre("file"));
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
    const fs::path key = backup() / "tls" / "ca.key";
    const fs::path aside = elsewhere.path() / "ca.key";
    fs::rename(key, aside);
    fs::create_symlink(aside, key); // a copy follows no link
    EXPECT_THROW(bring(), std::system_error);
    ServeOptions options;
    options.dataFolder = restored();
    options.listen = "127.0.0.1:0";
    EXPECT_THAT(refusal([&options] { runService(options); }), HasSubstr("restore"));
    fs::rename(aside, key);
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
