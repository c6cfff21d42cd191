// The notes of fetched files: their journal, ages and bounds.
#include "support/FetchReportsFixture.h"
#include "transfer/JournalFile.h"

#include <sys/resource.h>

namespace kesdk::test {

TEST_F(FetchReports, TellTheAgeByTheSteadyClock)
{
    impl::FetchReports reports = Reports();
    reports.Note(kAccount, 1);
    time->Advance(std::chrono::seconds(40));
    reports.Note(kAccount, 2);
    reports.Note(kAccount, 1);
    time->Advance(std::chrono::seconds(2));
    wallS -= 5000; // the console's clock was set
    EXPECT_EQ(Send(reports), Entries({{1, 42}, {2, 2}}));
    EXPECT_EQ(Send(reports), json());
    EXPECT_EQ(folder.EntryCount(), 0U);
}

TEST_F(FetchReports, CountTheTimeAsleep)
{
    impl::FetchReports reports = Reports();
    reports.Note(kAccount, 1);
    time->Advance(std::chrono::seconds(2));
    asleep = std::chrono::hours(1);
    EXPECT_EQ(Send(reports), Entries({{1, 3602}}));
}

TEST_F(FetchReports, TellTheAgeByTheConsolesClockAfterARestart)
{
    Reports().Note(kAccount, 1);
    wallS += 100;
    impl::FetchReports reports = Reports();
    EXPECT_TRUE(reports.HasAny(kAccount));
    EXPECT_FALSE(reports.HasAny("https://service.example\n8"));
    time->Advance(std::chrono::seconds(3));
    EXPECT_EQ(Send(reports), Entries({{1, 103}}));
}

TEST_F(FetchReports, HaveNoAgeIfTheClockWentBackMeanwhile)
{
    Reports().Note(kAccount, 1);
    wallS -= 100;
    impl::FetchReports reports = Reports();
    EXPECT_EQ(Send(reports), Entries({{1, 0}}));
}

TEST_F(FetchReports, KeepTheNewestThousandAndSendFewAtATime)
{
    {
        impl::FetchReports reports = Reports();
        for (int file = 1; file <= 1002; ++file)
            reports.Note(kAccount, file);
    }
    impl::FetchReports reports = Reports();
    int file = 3;
    int requests = 0;
    while (reports.HasAny(kAccount)) {
        const json sent = Send(reports)["fetches"];
        ASSERT_LE(++requests, 20);
        for (const json& entry : sent)
            ASSERT_EQ(entry["file"], file++);
    }
    EXPECT_EQ(file, 1003);
}

// A proxy may send any status, but only the service knows that it will never take a note.
TEST_F(FetchReports, StayUntilTheServiceHasDecided)
{
    impl::FetchReports reports = Reports();
    reports.Note(kAccount, 1);
    for (const int status : {302, 401, 403, 404, 405, 409, 418, 500, 503, 507}) {
        EXPECT_EQ(Send(reports, MakeResponse(status)), Entries({{1, 0}})) << status;
        EXPECT_TRUE(failure.IsSet());
        EXPECT_TRUE(reports.HasAny(kAccount)) << status;
    }
    for (const int status : {400, 413, 422}) {
        reports.Note(kAccount, status);
        Send(reports, MakeResponse(status));
        EXPECT_TRUE(failure.IsSet());
        EXPECT_FALSE(reports.HasAny(kAccount)) << status;
    }
    EXPECT_EQ(folder.EntryCount(), 0U);
}

// A console with too many open files cannot read the journal, which is there.
TEST_F(FetchReports, KeepAJournalThatCannotBeReadNow)
{
    Reports().Note(kAccount, 1);
    impl::FetchReports reports = Reports();
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    reports.Note(kAccount, 2);
    const json sent = Send(reports);
    reports.Note(kAccount, 3);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(sent, Entries({{2, 0}}));
    reports.Note(kAccount, 4);
    impl::FetchReports restarted = Reports();
    EXPECT_EQ(Send(restarted), Entries({{1, 0}, {3, 0}, {4, 0}}));
}

TEST_F(FetchReports, SkipADamagedJournal)
{
    Reports().Note(kAccount, 1);
    const std::string name = JournalName();
    folder.Write(name, folder.Read(name).substr(0, 40));
    EXPECT_FALSE(Reports().HasAny(kAccount));
}

TEST_F(FetchReports, StayOnAClockThatIsAheadUntilTheServiceConfirmsIt)
{
    Reports().Note("https://service.example\n8", 1);
    wallS += std::int64_t{31} * 24 * 3600;
    isClockConfirmed = false;
    impl::FetchReports reports = Reports();
    reports.Note(kAccount, 2);
    Send(reports);
    EXPECT_TRUE(Reports().HasAny("https://service.example\n8"));
    isClockConfirmed = true;
    reports.Note(kAccount, 3);
    Send(reports);
    EXPECT_FALSE(Reports().HasAny("https://service.example\n8"));
}

TEST_F(FetchReports, MakeTheFolderOfTheirJournal)
{
    const std::string missing = folder.Path("state/kesdk");
    In(missing).Note(kAccount, 1);
    EXPECT_TRUE(In(missing).HasAny(kAccount));
}

TEST_F(FetchReports, ReadTheJournalOfTheVersionBefore)
{
    Reports().Note(kAccount, 1);
    const json entries = {{2, wallS - 5}, "text", {3}, {4, wallS, 5}, {6, wallS - 7}};
    ASSERT_TRUE(impl::WriteJournal(folder.Path(JournalName()),
                                   impl::ToJournalText({{"fetches", entries}})));
    impl::FetchReports reports = Reports();
    EXPECT_EQ(Send(reports), Entries({{2, 5}, {6, 7}}));
}

TEST_F(FetchReports, AreKeptInMemoryWithoutAFolder)
{
    impl::FetchReports reports = In({});
    reports.Note(kAccount, 1);
    reports.Note("", 2);
    EXPECT_EQ(Send(reports), Entries({{1, 0}}));
    EXPECT_EQ(folder.EntryCount(), 0U);
}

} // namespace kesdk::test
