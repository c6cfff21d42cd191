// The results of unpacking in the notes of fetched files.
#include "support/FetchReportsFixture.h"

#include <filesystem>
#include <string>

namespace kesdk::test {

namespace {

json Unpacked(int file, int age, int unpackedAge)
{
    return {{"file", file}, {"age_s", age}, {"unpacked_age_s", unpackedAge}};
}

json NotUnpacked(int file, int age, const std::string& error)
{
    return {{"file", file}, {"age_s", age}, {"unpack_error", error}};
}

json Report(std::initializer_list<json> entries)
{
    return {{"fetches", json(json::array_t(entries))}};
}

} // namespace

TEST_F(FetchReports, HaveTheResultThatIsKnownBeforeTheReport)
{
    impl::FetchReports reports = Reports();
    const std::string first = Fetched("first.zip");
    const std::string second = Fetched("second.zip");
    reports.Note(kAccount, 1, first);
    reports.Note(kAccount, 2, second);
    reports.Note(kAccount, 3, Fetched("notes.txt"));
    time->Advance(std::chrono::seconds(10));
    reports.NoteUnpacking(second.c_str(), "the archive is damaged");
    reports.NoteUnpacking(first.c_str(), nullptr);
    time->Advance(std::chrono::seconds(5));
    const json expected = Report({Unpacked(1, 15, 5),
                                  NotUnpacked(2, 15, "the archive is damaged"),
                                  {{"file", 3}, {"age_s", 15}}});
    EXPECT_EQ(Send(reports), expected);
    EXPECT_FALSE(reports.HasAny(kAccount));
}

TEST_F(FetchReports, AreFollowedByALaterResult)
{
    impl::FetchReports reports = Reports();
    const std::string path = Fetched("first.zip");
    reports.Note(kAccount, 1, path);
    EXPECT_EQ(Send(reports), Entries({{1, 0}}));
    EXPECT_FALSE(reports.HasAny(kAccount)) << "the note waits for its result";
    time->Advance(std::chrono::seconds(7));
    reports.NoteUnpacking(path.c_str(), nullptr);
    EXPECT_EQ(Send(reports), Report({Unpacked(1, 7, 0)}));
    EXPECT_FALSE(reports.HasAny(kAccount));
    EXPECT_EQ(folder.EntryCount(), 0U);
}

TEST_F(FetchReports, AreFollowedByAResultThatCameDuringTheRequest)
{
    impl::FetchReports reports = Reports();
    const std::string path = Fetched("first.zip");
    reports.Note(kAccount, 1, path);
    duringRequest = [&] { reports.NoteUnpacking(path.c_str(), "no space"); };
    EXPECT_EQ(Send(reports), Entries({{1, 0}}));
    EXPECT_EQ(Send(reports), Report({NotUnpacked(1, 0, "no space")}));
    EXPECT_FALSE(reports.HasAny(kAccount));
}

// An error such as a full disk passes.
TEST_F(FetchReports, AreFollowedByASuccessAfterAnError)
{
    const std::string path = Fetched("first.zip");
    {
        impl::FetchReports reports = Reports();
        reports.Note(kAccount, 1, path);
        reports.NoteUnpacking(path.c_str(), "no space");
        EXPECT_EQ(Send(reports), Report({NotUnpacked(1, 0, "no space")}));
        reports.NoteUnpacking(path.c_str(), "no space");
        EXPECT_FALSE(reports.HasAny(kAccount)) << "the service has this error";
        reports.NoteUnpacking(path.c_str(), "no memory");
        EXPECT_EQ(Send(reports), Report({NotUnpacked(1, 0, "no memory")}));
    }
    impl::FetchReports reports = Reports();
    EXPECT_FALSE(reports.HasAny(kAccount));
    reports.NoteUnpacking(path.c_str(), nullptr);
    EXPECT_EQ(Send(reports), Report({Unpacked(1, 0, 0)}));
    EXPECT_EQ(folder.EntryCount(), 0U);
}

TEST_F(FetchReports, KeepTheResultOverARestart)
{
    const std::string first = Fetched("first.zip");
    const std::string second = Fetched("second.zip");
    Reports().Note(kAccount, 1, first);
    Reports().Note(kAccount, 2, second);
    wallS += 100;
    Reports().NoteUnpacking(first.c_str(), nullptr);
    Reports().NoteUnpacking(second.c_str(), "no space");
    wallS += 20;
    impl::FetchReports reports = Reports();
    EXPECT_EQ(Send(reports), Report({Unpacked(1, 120, 20), NotUnpacked(2, 120, "no space")}));
}

TEST_F(FetchReports, WaitForTheResultOverARestart)
{
    const std::string path = Fetched("first.zip");
    {
        impl::FetchReports reports = Reports();
        reports.Note(kAccount, 1, path);
        EXPECT_EQ(Send(reports), Entries({{1, 0}}));
    }
    impl::FetchReports reports = Reports();
    EXPECT_EQ(Send(reports), json());
    reports.NoteUnpacking(path.c_str(), nullptr);
    EXPECT_EQ(Send(reports), Report({Unpacked(1, 0, 0)}));
}

// A kill after the unpacking may come before the result is noted.
TEST_F(FetchReports, IgnoreAResultOfAMissingFile)
{
    const std::string path = Fetched("first.zip");
    Reports().Note(kAccount, 1, path);
    std::filesystem::remove(path);
    impl::FetchReports reports = Reports();
    reports.NoteUnpacking(path.c_str(), nullptr);
    EXPECT_EQ(Send(reports), Entries({{1, 0}}));
}

TEST_F(FetchReports, IgnoreAResultWithoutAMark)
{
    impl::FetchReports reports = Reports();
    const std::string missing = files.Path("missing.zip");
    reports.Note(kAccount, 1, missing);
    reports.NoteUnpacking(missing.c_str(), nullptr);
    EXPECT_EQ(Send(reports), Entries({{1, 0}}));
}

TEST_F(FetchReports, HaveTheResultOfTheFileThatHasTheNameNow)
{
    impl::FetchReports reports = Reports();
    reports.Note(kAccount, 1, Fetched("map.zip"));
    reports.Note(kAccount, 2, Fetched("map.zip"));
    reports.Note(kAccount, 3, Fetched("other.zip"));
    reports.NoteUnpacking(Fetched("other.zip").c_str(), nullptr); // by another program
    reports.NoteUnpacking(files.Path("map.zip").c_str(), "no space");
    const json expected = Report(
        {{{"file", 1}, {"age_s", 0}}, NotUnpacked(2, 0, "no space"), {{"file", 3}, {"age_s", 0}}});
    EXPECT_EQ(Send(reports), expected);
}

TEST_F(FetchReports, HaveTheResultOfTheLastFetchOfAFile)
{
    impl::FetchReports reports = Reports();
    const std::string path = Fetched("map.zip");
    reports.Note(kAccount, 1, path);
    reports.NoteUnpacking(path.c_str(), "no space");
    reports.Note(kAccount, 1, Fetched("map.zip"));
    EXPECT_EQ(Send(reports), Entries({{1, 0}})) << "the new archive has no result yet";
    reports.NoteUnpacking(path.c_str(), "no space");
    reports.NoteUnpacking(path.c_str(), nullptr);
    reports.NoteUnpacking(path.c_str(), "no space");
    EXPECT_EQ(Send(reports), Report({Unpacked(1, 0, 0)})) << "an error until it is unpacked";
}

// The next operator's download unpacks the archive that a killed run left.
TEST_F(FetchReports, HaveAResultFromTheSessionOfAnotherOperator)
{
    const std::string path = Fetched("first.zip");
    Reports().Note(kAccount, 1, path);
    {
        impl::FetchReports reports = Reports();
        EXPECT_FALSE(reports.HasAny("https://service.example\n8"));
        reports.NoteUnpacking(path.c_str(), nullptr);
        EXPECT_FALSE(reports.HasAny("https://service.example\n8"));
    }
    impl::FetchReports reports = Reports();
    EXPECT_EQ(Send(reports), Report({Unpacked(1, 0, 0)}));
}

TEST_F(FetchReports, TellAnErrorWithoutAReason)
{
    impl::FetchReports reports = Reports();
    const std::string path = Fetched("first.zip");
    reports.Note(kAccount, 1, path);
    reports.NoteUnpacking(path.c_str(), "");
    EXPECT_EQ(Send(reports), Report({NotUnpacked(1, 0, "unknown")}));
}

TEST_F(FetchReports, HaveTheStartOfALongReason)
{
    constexpr int kMostNotes = 1000;
    const std::string path = Fetched("first.zip");
    std::string letters;
    for (int i = 0; i < 300; ++i)
        letters += "\u00e9";
    {
        impl::FetchReports reports = Reports();
        for (int file = 1; file <= kMostNotes; ++file)
            reports.Note(kAccount, file, path);
        reports.NoteUnpacking(path.c_str(), std::string(300, '\x01').c_str());
        reports.Note(kAccount, 1, Fetched("other.zip"));
        reports.NoteUnpacking(files.Path("other.zip").c_str(), letters.c_str());
    }
    impl::FetchReports reports = Reports(); // the journal has not become too large
    EXPECT_EQ(Send(reports), Report({NotUnpacked(1, 0, letters.substr(0, std::size_t{2} * 255))}));
    for (const int file : {2, 3})
        EXPECT_EQ(Send(reports), Report({NotUnpacked(file, 0, std::string(255, '\x01'))}));
}

TEST_F(FetchReports, WaitSevenDaysForTheResult)
{
    impl::FetchReports reports = Reports();
    const std::string old = Fetched("old.zip");
    const std::string recent = Fetched("recent.zip");
    reports.Note(kAccount, 1, old);
    time->Advance(std::chrono::seconds(1));
    reports.Note(kAccount, 2, recent);
    Send(reports);
    reports.Note(kAccount, 3, Fetched("unsent.zip"));
    time->Advance(std::chrono::hours(24 * 7));
    reports.Note(kAccount, 4);
    reports.NoteUnpacking(old.c_str(), nullptr);
    reports.NoteUnpacking(recent.c_str(), nullptr);
    const json expected = Report(
        {Unpacked(2, 604'800, 0), {{"file", 3}, {"age_s", 604'800}}, {{"file", 4}, {"age_s", 0}}});
    EXPECT_EQ(Send(reports), expected);
}

TEST_F(FetchReports, ReplaceWaitingNotesBeforeUnsentNotes)
{
    impl::FetchReports reports = In({});
    const std::string path = Fetched("second.zip");
    reports.Note(kAccount, 1, Fetched("first.zip"));
    reports.Note(kAccount, 2, path);
    Send(reports);
    reports.Note(kAccount, 1, Fetched("first.zip")); // must be sent again
    for (int file = 3; file <= 1001; ++file)
        reports.Note(kAccount, file);
    reports.NoteUnpacking(path.c_str(), nullptr);
    const json sent = Send(reports)["fetches"];
    EXPECT_EQ(sent[0]["file"], 1);
    EXPECT_EQ(sent[1]["file"], 3) << "file 2 was forgotten";
}

} // namespace kesdk::test
