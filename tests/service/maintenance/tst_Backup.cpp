// Backups: what is in them, and beside what they can be made.
#include "service/maintenance/Backup.h"

#include "service/DataFolder.h"
#include "service/maintenance/StoreFiles.h"
#include "service/maintenance/Verify.h"
#include "service/store/FileTable.h"
#include "tests/service/maintenance/BackupFixture.h"
#include "tests/service/support/FileDates.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace kelvo::maintenance {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class BackingUp : public BackupFixture
{};

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

TEST_F(BackingUp, TakesWhatIsDatedWhenTimesOf32BitsAreOver)
{
    for (const auto& entry : fs::recursive_directory_iterator(folder.Path())) {
        ASSERT_TRUE(test::setFileDate(entry.path(), test::farFutureS)) << entry.path();
    }
    EXPECT_THAT(back().damages, IsEmpty());
    EXPECT_THAT(bring().damages, IsEmpty());
    EXPECT_THAT(verify(restored()).damages, IsEmpty());
    EXPECT_EQ(readFile(restored() / "uploads" / open.id), "hello");
    EXPECT_EQ(readFile(restored() / "tls" / "ca.key"), "key");
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
    const DataFolder running(folder.Path());
    back();
    bring();
    EXPECT_TRUE(verify(restored()).isClean());
}

TEST_F(BackingUp, IsNotTornByWhatComesAndGoesMeanwhile)
{
    const DataFolder running(folder.Path());
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
    EXPECT_THAT(refusal([this] { backUp(elsewhere.Path() / "nothing", restored()); }),
                HasSubstr("no database"));
}

TEST_F(BackingUp, NeverLiesInWhatItIsABackupOf)
{
    EXPECT_THAT(refusal([this] { backUp(folder.Path(), folder.Path() / "backup" / "one"); }),
                HasSubstr("in each other"));
    back();
    for (const fs::path& target : {backup(), backup() / "data", elsewhere.Path()}) {
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

TEST_F(BackingUp, LeavesNothingWhenItFails)
{
    replaceFile(elsewhere.Path() / "file", "", 0600);
    EXPECT_ANY_THROW(backUp(folder.Path(), elsewhere.Path() / "file" / "backup"));
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(BackingUp, FillsAnEmptyFolderThatIsThereWithoutReplacingIt)
{
    fs::create_directory(backup()); // a disk that is mounted there cannot be renamed over
    fs::create_directory(backup() / "lost+found");
    const auto inode = [this] {
        struct stat status
        {};
        EXPECT_EQ(::stat(backup().c_str(), &status), 0);
        return status.st_ino;
    };
    const auto before = inode();
    const fs::path pipe = makePipe(std::string(64, '0')); // holds it up where it reads that
    std::thread making([this] { back(); });
    FileDescriptor writer = openFile(pipe, O_WRONLY);
    EXPECT_THAT(names(), ElementsAre("backup")) << "the work goes on where the room is";
    writer.reset();
    making.join();
    EXPECT_EQ(inode(), before);
    EXPECT_THAT(names(), ElementsAre("backup"));
    bring();
    EXPECT_TRUE(verify(restored()).isClean());
    EXPECT_THAT(refusal([this] { back(); }), HasSubstr("is there already"));
}

TEST_F(BackingUp, TakesADatabaseWithAnEmptyJournalAlsoWhenAContentIsMissing)
{
    contents.remove(sha256Hex("in the bin"));
    const fs::path journal = folder.Path() / "kelvo.sqlite-journal";
    fs::remove(journal);
    replaceFile(journal, "", 0600); // as a crash at its beginning leaves it
    EXPECT_THAT(back().damages, ElementsAre(HasSubstr("is missing")));
    EXPECT_FALSE(fs::exists(backup() / "kelvo.sqlite-journal"));
    EXPECT_THAT(bring().damages, ElementsAre(HasSubstr("is missing")));
    EXPECT_FALSE(fs::exists(restored() / "kelvo.sqlite-journal"));
}

} // namespace
} // namespace kelvo::maintenance
