// The notes of fetched files: their journal, ages and bounds.
#include "transfer/FetchReports.h"

#include "connection/ApiLine.h"
#include "support/FakeService.h"
#include "support/FakeTime.h"
#include "tests/support/TempFolder.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <ctime>

namespace kesdk::test {

namespace {

using nlohmann::json;

constexpr const char* kAccount = "https://service.example\n7";

class FetchReports : public testing::Test
{
protected:
    impl::FetchReports Reports() const
    {
        return {folder.Path().string(), line.Timing(), [this] { return wallS; }};
    }

    // Sends the notes; returns the body of the request, or null if there is none.
    json Send(impl::FetchReports& reports, impl::HttpResponse answer = MakeResponse(204))
    {
        body = json();
        next = std::move(answer);
        impl::ApiCall call;
        call.serviceAndUser = kAccount;
        failure = reports.Send(line.Api(), call);
        return body;
    }

    std::string JournalName() const
    {
        return std::filesystem::directory_iterator(folder.Path())->path().filename().string();
    }

    kelvo::test::TempFolder folder;
    std::int64_t wallS = std::time(nullptr); // the journal has a date of now
    json body;
    impl::HttpResponse next;
    impl::Failure failure;
    std::shared_ptr<FakeTime> time = std::make_shared<FakeTime>();
    impl::LinkBoard board;
    mutable impl::ApiLine line{
        {std::make_unique<FakeTransport>([this](const impl::HttpRequest& request, const auto&) {
             body = json::parse(request.body);
             return Respond(request, next);
         }),
         std::make_unique<FakeTiming>(time, 0.0)},
        board};
};

json Entries(std::initializer_list<std::pair<int, int>> filesAndAges)
{
    json list = json::array();
    for (const auto& [file, age] : filesAndAges)
        list.push_back({{"file", file}, {"age_s", age}});
    return {{"fetches", list}};
}

} // namespace

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

TEST_F(FetchReports, KeepTheNewestThousandAndSendAHundredAtATime)
{
    {
        impl::FetchReports reports = Reports();
        for (int file = 1; file <= 1002; ++file)
            reports.Note(kAccount, file);
    }
    impl::FetchReports reports = Reports();
    for (int from = 3; from <= 1002; from += 100) {
        const json sent = Send(reports)["fetches"];
        ASSERT_EQ(sent.size(), 100U);
        EXPECT_EQ(sent.front()["file"], from);
        EXPECT_EQ(sent.back()["file"], from + 99);
    }
    EXPECT_FALSE(reports.HasAny(kAccount));
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

TEST_F(FetchReports, MakeTheFolderOfTheirJournal)
{
    const std::string missing = folder.Path("state/kesdk");
    const auto newReports = [&] {
        return std::make_unique<impl::FetchReports>(missing, line.Timing(),
                                                    [this] { return wallS; });
    };
    newReports()->Note(kAccount, 1);
    EXPECT_TRUE(newReports()->HasAny(kAccount));
}

TEST_F(FetchReports, AreKeptInMemoryWithoutAFolder)
{
    impl::FetchReports reports{{}, line.Timing(), [this] { return wallS; }};
    reports.Note(kAccount, 1);
    reports.Note("", 2);
    EXPECT_EQ(Send(reports), Entries({{1, 0}}));
    EXPECT_EQ(folder.EntryCount(), 0U);
}

} // namespace kesdk::test
