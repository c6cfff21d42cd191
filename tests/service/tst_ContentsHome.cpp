// The place of the contents: its option, its record in the database, and its clean-up.
#include "service/ContentsHome.h"
#include "service/DataFolder.h"
#include "service/api/UploadSteps.h"
#include "service/base/Digest.h"
#include "service/base/Unavailable.h"
#include "service/store/PlaceTable.h"
#include "service/store/UploadTable.h"
#include "tests/service/support/ApiFixture.h"
#include "tests/service/support/ObjectGateway.h"
#include "tests/support/Variable.h"

#include <gmock/gmock.h>

#include <atomic>
#include <fstream>

namespace kelvo {
namespace {

using namespace std::chrono_literals;

TEST(ContentsPlace, IsAFolderOrABucket)
{
    EXPECT_EQ(ContentsPlace::parse("file:/srv/bytes").folder, "/srv/bytes");
    const auto bucket = ContentsPlace::parse("s3://farm?endpoint=https://objects.example");
    ASSERT_TRUE(bucket.bucket);
    EXPECT_EQ(bucket.bucket->endpoint, "https://objects.example");
    for (const char* wrong : {"", "/srv/bytes", "file:", "s3://farm", "https://objects.example"}) {
        EXPECT_THROW(ContentsPlace::parse(wrong), std::invalid_argument) << wrong;
    }
}

TEST(ContentsPlace, HasNoNameInTheDataFolder)
{
    EXPECT_EQ(ContentsPlace().name("/data"), "");
    EXPECT_EQ(ContentsPlace::parse("file:/data/./").name("/data"), "");
    EXPECT_EQ(ContentsPlace::parse("file:/other").name("/data"), "file:/other");
    EXPECT_EQ(ContentsPlace::parse("s3://farm?endpoint=https://a.example").name("/data"),
              "s3://farm");
}

class Homes : public test::ApiFixture
{
protected:
    std::unique_ptr<ContentsHome> open(const ContentsPlace& place)
    {
        return openContents(place, {database, clock, folder.Path(), reserve, filePool});
    }

    std::string recorded() { return database.readNow(store::contentsPlace); }

    ContentsPlace bucket() const
    {
        ContentsPlace place;
        place.bucket = gateway.address();
        return place;
    }

    ContentsPlace otherFolder()
    {
        std::filesystem::create_directory(folder.Path() / "other");
        return ContentsPlace::parse("file:" + folder.Path("other"));
    }

    /** An upload with these bytes, in the store of the home. */
    store::Upload begin(ContentsHome& home, const std::string& text)
    {
        const store::Upload upload =
            ApiFixture::begin("a.zip", static_cast<long long>(text.size()));
        const auto receiver = home.contents().receive(upload.id);
        receiver->append(text.data(), text.size());
        receiver->flush();
        return upload;
    }

    void finish(ContentsHome& home, const std::string& upload)
    {
        const auto receiver = home.contents().receive(upload);
        receiver->finish();
        const auto adoption = receiver->adopt();
        database.writeNow([&adoption](store::Transaction& t) { adoption->join(t); });
        adoption->committed();
    }

    static constexpr std::size_t markers = 1; // of the database's bucket

    test::ObjectGateway gateway;
    const test::Variable accessKey{"AWS_ACCESS_KEY_ID",
                                   test::ObjectGateway::credentials().accessKey};
    const test::Variable secretKey{"AWS_SECRET_ACCESS_KEY",
                                   test::ObjectGateway::credentials().secretKey};
};

TEST_F(Homes, AreTheDataFolderByDefault)
{
    const auto home = open({});
    EXPECT_EQ(home->scratchFolder(), folder.Path() / "uploads");
    EXPECT_EQ(&home->pool(), &filePool);
    EXPECT_NO_THROW(home->probe());
    EXPECT_EQ(recorded(), "");
}

TEST_F(Homes, MayChangeWhileTheDatabaseHasNoFiles)
{
    open(otherFolder());
    EXPECT_EQ(recorded(), "file:" + folder.Path("other"));
    begin(*open(otherFolder()), "abc");
    EXPECT_THROW(open({}), StartRefused);
    EXPECT_THROW(open(bucket()), StartRefused);
    EXPECT_NO_THROW(open(otherFolder()));
}

TEST_F(Homes, InABucketStayThereForGood)
{
    open(bucket());
    EXPECT_EQ(recorded(), "s3://kelvo-test");
    EXPECT_THROW(open({}), StartRefused);
    EXPECT_NO_THROW(open(bucket()));
}

TEST_F(Homes, InABucketRefuseABucketOfTheSameNameInAnotherStore)
{
    test::ObjectGateway other;
    ContentsPlace wrong = bucket();
    wrong.bucket = other.address();
    open(bucket());
    try {
        open(wrong);
        FAIL() << "not refused";
    } catch (const StartRefused& refusal) {
        EXPECT_THAT(refusal.what(), testing::HasSubstr("endpoint"));
    }
    EXPECT_TRUE(other.objects().empty());
    EXPECT_NO_THROW(open(bucket()));
}

TEST_F(Homes, InABucketFindTheWrongBucketWhenItAnswers)
{
    test::ObjectGateway other;
    ContentsPlace wrong = bucket();
    wrong.bucket = other.address();
    open(bucket());
    other.failNext({test::EFault::Busy});
    const auto home = open(wrong); // the store does not answer at the start
    EXPECT_THROW(home->probe(), std::runtime_error);
}

TEST_F(Homes, InABucketKnowItByItsObjectsUntilItHasAMarker)
{
    test::ObjectGateway other;
    ContentsPlace wrong = bucket();
    wrong.bucket = other.address();
    gateway.failNext({test::EFault::Busy});
    const auto home = open(bucket()); // the store does not answer at the start
    EXPECT_EQ(database.readNow(store::contentsMarker), "");
    finish(*home, begin(*home, "abc").id);
    EXPECT_THROW(open(wrong), StartRefused);
    home->probe();
    EXPECT_NE(database.readNow(store::contentsMarker), "");
}

TEST_F(Homes, ThatCannotBeUsedAreNotRecorded)
{
    EXPECT_THROW(open(ContentsPlace::parse("file:" + folder.Path("missing"))), StartRefused);
    ContentsPlace wrong = bucket();
    wrong.bucket->bucket = "missing";
    EXPECT_THROW(open(wrong), StartRefused);
    EXPECT_EQ(recorded(), "");
}

TEST_F(Homes, RemoveObjectsThatNothingUsesAfterADay)
{
    const auto home = open(bucket());
    finish(*home, begin(*home, "no file has it").id); // the transaction here adds no file
    const store::Upload open = begin(*home, "goes on");
    const store::Upload ended = begin(*home, "its row is gone");
    database.writeNow(
        [&ended](store::Transaction& t) { store::removeUnfinishedUpload(t, ended.id); });
    home->removeUnused();
    EXPECT_EQ(gateway.objects().size(), 3U + markers);
    EXPECT_FALSE(home->contents().open(sha256Hex("no file has it")));
    EXPECT_EQ(home->contents().keptBytes(ended.id), 0U);
    clock.Advance(24h + 1ms);
    home->removeUnused();
    EXPECT_EQ(gateway.objects().size(), 1U + markers);
    EXPECT_EQ(home->contents().keptBytes(open.id), 7U);
}

TEST_F(Homes, InABucketLeaveNothingOfAProbe)
{
    const auto home = open(bucket());
    home->probe();
    EXPECT_EQ(gateway.objects().size(), markers);
    gateway.failNext({test::EFault::None, test::EFault::OtherBytes, test::EFault::OtherBytes});
    EXPECT_THROW(home->probe(), std::runtime_error);
}

TEST_F(Homes, InABucketFailAtOnceAfterTheirEnd)
{
    const auto home = open(bucket());
    home->finish();
    const int before = gateway.attempts();
    const auto receiver = home->contents().receive("u1");
    receiver->append("abc", 3);
    EXPECT_THROW(receiver->flush(), Unavailable);
    EXPECT_EQ(gateway.attempts(), before);
}

TEST_F(Homes, InABucketSignWithTheMachinesClock)
{
    const SystemClock machine;
    clock.ShiftTimeOfDay(std::chrono::milliseconds(machine.nowMs() - clock.nowMs()) + 1h);
    const std::string before = objects::amzDate(machine.nowMs());
    open(bucket());
    EXPECT_GE(gateway.lastDate(), before);
    EXPECT_LT(gateway.lastDate(), objects::amzDate(clock.nowMs()));
}

TEST_F(Homes, RunNoJobsAfterTheirEnd)
{
    for (const ContentsPlace& place : {otherFolder(), bucket()}) {
        WorkPool files{1};
        const auto home = openContents(place, {database, clock, folder.Path(), reserve, files});
        std::atomic<bool> ran = false;
        home->finish();
        files.post([&ran] { ran = true; });
        files.stop();
        EXPECT_FALSE(ran);
    }
}

TEST_F(Homes, InARecordedFolderNeedItsContents)
{
    open(otherFolder());
    std::filesystem::remove_all(folder.Path() / "other" / "content"); // as if nothing is mounted
    EXPECT_THROW(open(otherFolder()), StartRefused);
    std::filesystem::create_directory(folder.Path() / "other" / "content");
    EXPECT_NO_THROW(open(otherFolder()));
}

TEST_F(Homes, InANewFolderRefuseTheFilesOfAnotherDatabase)
{
    for (const char* name : {"content", "uploads"}) {
        const auto file = folder.Path() / "other" / name / "aa" / "file";
        otherFolder();
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << "bytes";
        EXPECT_THROW(open(otherFolder()), StartRefused) << name;
        EXPECT_EQ(recorded(), "");
        std::filesystem::remove(file);
    }
    EXPECT_NO_THROW(open(otherFolder()));
}

} // namespace
} // namespace kelvo
