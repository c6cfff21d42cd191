// Backups: their content, and the states in which they can be made.
#include "service/maintenance/Backup.h"

#include "service/DataFolder.h"
#include "service/maintenance/StoreFiles.h"
#include "service/maintenance/Verify.h"
#include "service/store/FileTable.h"
#include "tests/service/maintenance/BackupFixture.h"
#include "tests/support/FileDates.h"

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

TEST_F(BackingUp, ABackupRestoresTheSameFolder)
{
    const CopyReport made = makeBackup();
    EXPECT_THAT(made.damages, IsEmpty());
    EXPECT_EQ(made.contents, 2U);
    EXPECT_THAT(names(), ElementsAre("backup")) << "an unfinished backup is left";
    EXPECT_THAT(restoreBackup().damages, IsEmpty());
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

TEST_F(BackingUp, CopiesFilesDatedAfter2038)
{
    for (const auto& entry : fs::recursive_directory_iterator(folder.Path())) {
        ASSERT_TRUE(test::SetFileDate(entry.path(), test::farFutureS)) << entry.path();
    }
    EXPECT_THAT(makeBackup().damages, IsEmpty());
    EXPECT_THAT(restoreBackup().damages, IsEmpty());
    EXPECT_THAT(verify(restored()).damages, IsEmpty());
    EXPECT_EQ(readFile(restored() / "uploads" / open.id), "hello");
    EXPECT_EQ(readFile(restored() / "tls" / "ca.key"), "key");
}

TEST_F(BackingUp, LeavesOutContentsWithoutAFile)
{
    const store::Upload crashed = begin("c.zip", 3);
    content::UploadWriter(contents, digests, crashed.id).append("abc", 3);
    contents.adopt(crashed.id, sha256Hex("abc"));
    makeBackup();
    restoreBackup();
    EXPECT_THAT(verify(restored()).leftovers, IsEmpty());
}

TEST_F(BackingUp, WorksBesideARunningService)
{
    const DataFolder running(folder.Path());
    makeBackup();
    restoreBackup();
    EXPECT_TRUE(verify(restored()).isClean());
}

TEST_F(BackingUp, ABackupIsConsistentWhenFilesAreAddedAndRemovedMeanwhile)
{
    const DataFolder running(folder.Path());
    std::vector<std::string> texts{"added content", "added and removed content"};
    std::sort(texts.begin(), texts.end(), [](const auto& left, const auto& right) {
        return sha256Hex(left) < sha256Hex(right); // the order in which contents are copied
    });
    // A pipe in place of a content blocks the backup when it reads the content. Opening the pipe
    // for writing waits for that read.
    const fs::path firstPipe = makePipe(std::string(64, '0'));
    std::vector<std::string> damages{"not made"};
    std::thread making([&] { damages = makeBackup().damages; });
    FileDescriptor first = openFile(firstPipe, O_WRONLY);
    // The backup has its list of contents and no database yet.
    addFile("comes.zip", texts[0]);
    const store::File goes = addFile("goes.zip", texts[1]);
    contents.remove(sha256Hex(texts[0]));
    const fs::path secondPipe = makePipe(sha256Hex(texts[0]));
    first.reset();
    FileDescriptor second = openFile(secondPipe, O_WRONLY);
    // The backup has the database with both files.
    database.writeNow([&](store::Transaction& t) {
        store::moveToBin(t, user.farmId(), goes.id, "olga", 0);
        store::emptyBin(t, 1);
    });
    contents.remove(sha256Hex(texts[1]));
    writeAll(second.get(), texts[0].data(), texts[0].size());
    second.reset();
    making.join();
    EXPECT_THAT(damages, IsEmpty());
    EXPECT_THAT(restoreBackup().damages, IsEmpty());
    const VerifyReport report = verify(restored());
    EXPECT_THAT(report.damages, IsEmpty());
    EXPECT_THAT(report.leftovers, IsEmpty());
    EXPECT_EQ(number("SELECT COUNT(*) FROM files WHERE name = 'comes.zip'"), 1);
    EXPECT_EQ(number("SELECT COUNT(*) FROM files WHERE name = 'goes.zip'"), 0);
}

TEST_F(BackingUp, ReportsDamageAndCopiesTheRest)
{
    replaceFile(pathOf("a field"), "a fXeld", 0600);
    contents.remove(sha256Hex("in the bin"));
    EXPECT_THAT(makeBackup().damages, testing::UnorderedElementsAre(HasSubstr("uploaded bytes"),
                                                                    HasSubstr("is missing")));
    EXPECT_THAT(restoreBackup().damages,
                testing::UnorderedElementsAre(HasSubstr("damaged in the backup"),
                                              HasSubstr("missing in the backup")));
    EXPECT_EQ(number("SELECT COUNT(*) FROM files"), 3);
}

TEST_F(BackingUp, RefusesAFolderThatIsNotEmpty)
{
    fs::create_directory(backup());
    makeBackup();
    EXPECT_THAT(refusal([this] { makeBackup(); }), HasSubstr("exists and is not"));
    EXPECT_THAT(refusal([this] { backUp(elsewhere.Path() / "nothing", restored()); }),
                HasSubstr("no database"));
}

TEST_F(BackingUp, RefusesFoldersInsideEachOther)
{
    EXPECT_THAT(refusal([this] { backUp(folder.Path(), folder.Path() / "backup" / "one"); }),
                HasSubstr("in each other"));
    makeBackup();
    for (const fs::path& target : {backup(), backup() / "data", elsewhere.Path()}) {
        EXPECT_THAT(refusal([&] { restore(backup(), target, true); }), HasSubstr("in each other"));
    }
    EXPECT_THAT(names(), ElementsAre("backup"));
    restoreBackup();
    EXPECT_TRUE(verify(restored()).isClean());
}

TEST_F(BackingUp, ReportsUnreadableContentsAndCopiesTheRest)
{
    fs::remove(pathOf("a field"));
    fs::create_directory(pathOf("a field")); // can be opened, but not read
    const CopyReport made = makeBackup();
    EXPECT_THAT(made.damages, ElementsAre(HasSubstr("cannot be read")));
    EXPECT_EQ(made.contents, 1U);
    EXPECT_THAT(restoreBackup().damages, ElementsAre(HasSubstr("missing in the backup")));
}

TEST_F(BackingUp, LeavesNothingWhenItFails)
{
    replaceFile(elsewhere.Path() / "file", "", 0600);
    EXPECT_ANY_THROW(backUp(folder.Path(), elsewhere.Path() / "file" / "backup"));
    EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(BackingUp, FillsAnEmptyFolderWithoutReplacingIt)
{
    fs::create_directory(backup()); // a mounted disk cannot be replaced by a rename
    fs::create_directory(backup() / "lost+found");
    const auto inode = [this] {
        struct stat status
        {};
        EXPECT_EQ(::stat(backup().c_str(), &status), 0);
        return status.st_ino;
    };
    const auto before = inode();
    const fs::path pipe =
        makePipe(std::string(64, '0')); // blocks the backup when it reads this content
    std::thread making([this] { makeBackup(); });
    FileDescriptor writer = openFile(pipe, O_WRONLY);
    EXPECT_THAT(names(), ElementsAre("backup")) << "the part is made on the target's disk";
    writer.reset();
    making.join();
    EXPECT_EQ(inode(), before);
    EXPECT_THAT(names(), ElementsAre("backup"));
    restoreBackup();
    EXPECT_TRUE(verify(restored()).isClean());
    EXPECT_THAT(refusal([this] { makeBackup(); }), HasSubstr("exists and is not"));
}

TEST_F(BackingUp, CopiesADatabaseWithAnEmptyJournalWhenAContentIsMissing)
{
    contents.remove(sha256Hex("in the bin"));
    const fs::path journal = folder.Path() / "kelvo.sqlite-journal";
    fs::remove(journal);
    replaceFile(journal, "", 0600); // a crash at the start of a transaction leaves an empty journal
    EXPECT_THAT(makeBackup().damages, ElementsAre(HasSubstr("is missing")));
    EXPECT_FALSE(fs::exists(backup() / "kelvo.sqlite-journal"));
    EXPECT_THAT(restoreBackup().damages, ElementsAre(HasSubstr("is missing")));
    EXPECT_FALSE(fs::exists(restored() / "kelvo.sqlite-journal"));
}

} // namespace
} // namespace kelvo::maintenance
