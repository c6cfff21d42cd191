// The findings of verify.
#include "service/maintenance/Verify.h"

#include "service/DataFolder.h"
#include "tests/service/support/StoredFiles.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

namespace kelvo::maintenance {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Verifying : public test::StoredFiles
{
protected:
    VerifyReport verifyFolder() { return verify(folder.Path()); }

    void change(const std::string& statement)
    {
        database.writeNow([&](store::Transaction& t) { t.sql << statement; });
    }
};

TEST_F(Verifying, FindsNothingInAnIntactFolder)
{
    const VerifyReport report = verifyFolder();
    EXPECT_THAT(report.damages, IsEmpty());
    EXPECT_THAT(report.leftovers, IsEmpty());
    EXPECT_FALSE(report.serviceRuns);
    EXPECT_EQ(report.contents, 2U);
    EXPECT_EQ(report.bytes, 17U);
}

TEST_F(Verifying, FindsAContentThatDoesNotMatchItsDigest)
{
    replaceFile(pathOf("a field"), "a fXeld", 0600);
    EXPECT_THAT(verifyFolder().damages, ElementsAre(HasSubstr("uploaded bytes")));
}

TEST_F(Verifying, FindsAContentThatIsTooShort)
{
    replaceFile(pathOf("a field"), "a fi", 0600);
    EXPECT_THAT(verifyFolder().damages, ElementsAre(HasSubstr("4 bytes instead of 7")));
}

TEST_F(Verifying, FindsAMissingContentOfTheBin)
{
    contents.remove(sha256Hex("in the bin"));
    EXPECT_THAT(verifyFolder().damages, ElementsAre(HasSubstr("is missing")));
}

TEST_F(Verifying, FindsAnUploadThatIsLongerThanAnnounced)
{
    replaceFile(folder.Path() / "uploads" / open.id, "hello and more", 0600);
    EXPECT_THAT(verifyFolder().damages, ElementsAre(HasSubstr("longer than its announced length")));
}

TEST_F(Verifying, ReportsLeftoversOfACrashButNotAsDamage)
{
    const store::Upload crashed = begin("c.zip", 3);
    content::UploadWriter(contents, digests, crashed.id).append("abc", 3);
    contents.adopt(crashed.id, sha256Hex("abc"));
    replaceFile(folder.Path() / "uploads" / "0123", "stray", 0600);
    const VerifyReport report = verifyFolder();
    EXPECT_THAT(report.damages, IsEmpty());
    EXPECT_THAT(report.leftovers,
                testing::UnorderedElementsAre(HasSubstr(sha256Hex("abc")), HasSubstr("0123")));
}

TEST_F(Verifying, ReportsNoLeftoversBesideARunningService)
{
    replaceFile(folder.Path() / "uploads" / "0123", "stray", 0600);
    const DataFolder running(folder.Path());
    VerifyReport report = verifyFolder();
    EXPECT_TRUE(report.serviceRuns);
    EXPECT_THAT(report.leftovers, IsEmpty());
    EXPECT_THAT(report.damages, IsEmpty());
    contents.remove(sha256Hex("a field"));
    report = verifyFolder();
    EXPECT_THAT(report.damages, ElementsAre(HasSubstr("is missing")));
}

TEST_F(Verifying, ChangesNothing)
{
    const auto state = [this] {
        std::map<std::string, std::string> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.Path())) {
            if (entry.is_regular_file()) {
                files[entry.path()] = readFile(entry.path());
            }
        }
        return files;
    };
    const auto before = state();
    verifyFolder();
    EXPECT_EQ(state(), before);
}

TEST_F(Verifying, RollsBackAnUnfinishedTransactionInItsCopyOnly)
{
    // A crash leaves pages in the log that were written before their commit.
    test::TempFolder crashed;
    const std::string committed = readFile(folder.Path() / "kelvo.sqlite-wal");
    const auto writeAndCopy = [&](store::Transaction& t) {
        t.sql << "PRAGMA cache_size = 1";
        t.sql << "UPDATE farms SET last_resource = 1";
        for (int i = 0; i < 200; ++i) {
            t.sql << "INSERT INTO counters (name, value) VALUES (HEX(RANDOMBLOB(400)), 0)";
        }
        using Options = std::filesystem::copy_options;
        std::filesystem::copy(folder.Path(), crashed.Path(),
                              Options::recursive | Options::overwrite_existing);
        throw std::runtime_error("the power fails");
    };
    EXPECT_THROW(database.writeNow(writeAndCopy), std::runtime_error);
    const auto log = crashed.Path() / "kelvo.sqlite-wal";
    const std::string left = readFile(log);
    ASSERT_GT(left.size(), committed.size());
    EXPECT_THAT(verify(crashed.Path()).damages, IsEmpty());
    EXPECT_EQ(readFile(log), left) << "the original has changed";
}

struct Broken
{
    const char* statement;
    const char* expected;
};

class BrokenRows : public Verifying, public testing::WithParamInterface<Broken>
{};

TEST_P(BrokenRows, VerifyFindsBrokenRows)
{
    // Foreign keys are off, as in a tool that edits a database by hand.
    const std::string file = (folder.Path() / "kelvo.sqlite").string();
    const auto session = store::makeSqlite(file)->connect();
    *session << "PRAGMA foreign_keys = OFF";
    *session << GetParam().statement;
    EXPECT_THAT(verifyFolder().damages, testing::Contains(HasSubstr(GetParam().expected)));
}

constexpr Broken brokens[] = {
    {"UPDATE farms SET last_resource = 8", "farm 1: its counter of ids is behind"},
    {"INSERT INTO projects (farm_id, id, name) VALUES (1, 8, 'x')", "used more than once"},
    {"DELETE FROM projects WHERE id = 7", "seven projects"},
    {"DELETE FROM inboxes", "names a row of inboxes"},
    {"UPDATE farms SET last_event = 1", "counter of events is behind"},
    {"UPDATE farms SET kept_events = kept_events + 1", "number of kept events"},
    {"UPDATE farms SET files = files + 1", "farm 1: its counters of files and bytes"},
    {"UPDATE users SET bytes = bytes + 1", "user 1: the counters of"},
    {"UPDATE farms SET pruned_event = 2", "events that were pruned"},
    {"UPDATE counters SET value = 0 WHERE name = 'users'", "users: the counter is behind"},
    {"UPDATE users SET farm_id = NULL", "a role without the farm"},
    {"UPDATE inboxes SET owner_id = 99", "names a row of users"},
    {"UPDATE files SET sha256 = 'nonsense' WHERE deleted_ms IS NOT NULL", "is not valid"},
    {"UPDATE files SET size_bytes = 1 WHERE name = 'again.zip'", "different sizes"},
    {"UPDATE uploads SET sha256 = '' WHERE finished = 1", "is finished without a digest"},
    {"UPDATE uploads SET length_bytes = 1 WHERE name = 'field.zip'", "has another content"},
};

INSTANTIATE_TEST_SUITE_P(Each, BrokenRows, testing::ValuesIn(brokens));

} // namespace
} // namespace kelvo::maintenance
