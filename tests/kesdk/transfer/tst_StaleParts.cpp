// Part files that killed downloads left behind, and other files with such names.
#include "support/ResumeFixture.h"

#include <set>
#include <variant>

namespace kesdk::impl {

namespace {

using test::Fault;

class StaleParts : public test::ResumeFixture
{
protected:
    // Dates the file one hour more than a week ago, or `lessS` less than a week ago.
    void MakeOld(const std::string& name, std::int64_t lessS = -test::kHourS) const
    {
        folder.Date(name, test::NextMonthS() - test::kWeekS + lessS);
    }
    // Leaves the part file of a small file, as a killed process does, and returns the part file's
    // name.
    std::string LeaveSmallPart(const std::string& name)
    {
        const FileRecord small = std::get<FileRecord>(
            api.GetResource(call, service.AddFile(inbox, name, "small")).value);
        const std::set<std::string> before = Names();
        std::string left;
        service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 2));
        service.onRequest = [&](const std::string&) {
            for (const std::string& found : Names())
                left = before.count(found) > 0 ? left : found;
        };
        EXPECT_FALSE(downloads.Fetch(call, small, folder.Path(name)).IsSet());
        service.onRequest = nullptr;
        std::filesystem::remove(folder.Path(name));
        EXPECT_FALSE(folder.Has(left));
        folder.Write(left, "sm");
        return left;
    }
    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
            names.insert(entry.path().filename().string());
        return names;
    }
    void ExpectPartIsResumed()
    {
        std::filesystem::remove(folder.Path("other.zip"));
        ExpectSaved(test::kCutAt);
        std::filesystem::remove(folder.Path("here.zip"));
    }
    // Fetches another file as a restarted console does, a month later or at `wallTimeS`.
    void FetchAnother(const WallClock& clock = &test::NextMonthS)
    {
        Downloads others{api, timing, clock};
        EXPECT_FALSE(others.Fetch(call, file, folder.Path("other.zip")).IsSet());
        EXPECT_TRUE(folder.Has("other.zip"));
    }
};

} // namespace

TEST_F(StaleParts, RemovesPartFilesWithTheirJournals)
{
    BeginAndStop();
    MakeOld("here.zip.part");
    MakeOld("here.zip.part.journal");
    FetchAnother();
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(StaleParts, KeepsPartFilesThatGrewThisWeek)
{
    BeginAndStop();
    MakeOld("here.zip.part", test::kHourS);
    MakeOld("here.zip.part.journal");
    FetchAnother();
    EXPECT_EQ(folder.EntryCount(), 3u);
    ExpectPartIsResumed();
}

TEST_F(StaleParts, DatesThePartFileWhenADownloadResumes)
{
    BeginAndStop();
    folder.Date("here.zip.part", static_cast<std::int64_t>(::time(nullptr)) - test::kHourS);
    const auto before = std::filesystem::last_write_time(folder.Path("here.zip.part"));
    service.FailNext(Drop("GET /v1/resources/", EErrorCode::eWrongHostName));
    EXPECT_EQ(Fetch().code, EErrorCode::eWrongHostName);
    EXPECT_GT(std::filesystem::last_write_time(folder.Path("here.zip.part")), before);
}

// The console did not know the time when it wrote the part file.
TEST_F(StaleParts, KeepsPartFilesWithAnImpossibleDateForAWeek)
{
    for (const std::int64_t writtenS : {std::int64_t{3600}, std::int64_t{2'524'608'000}}) { // 2050
        SCOPED_TRACE(writtenS);
        BeginAndStop();
        const std::string small = LeaveSmallPart("small.zip");
        for (const std::string& name : {small, std::string("here.zip.part.journal")})
            folder.Date(name, writtenS);
        folder.Date("here.zip.part", writtenS);
        FetchAnother();
        EXPECT_TRUE(folder.Has(small));
        EXPECT_TRUE(folder.Has("here.zip.part"));
        FetchAnother();
        EXPECT_FALSE(folder.Has(small))
            << "the first search gave it a date, which is a month ago now";
        EXPECT_EQ(folder.EntryCount(), 1u);
        std::filesystem::remove(folder.Path("other.zip"));
    }
}

TEST_F(StaleParts, KeepsPartFilesWhileTheClockIsWrong)
{
    for (const std::int64_t nowS : {std::int64_t{3600}, std::int64_t{4'102'444'800}}) { // 2100
        BeginAndStop();
        FetchAnother([nowS] { return nowS; });
        EXPECT_EQ(folder.EntryCount(), 3u);
        ExpectPartIsResumed();
    }
}

TEST_F(StaleParts, LimitsTheNumberOfPartFilesWhileTheClockIsWrong)
{
    BeginAndStop();
    const auto name = [](int number) { return std::to_string(number) + ".zip.part"; };
    for (int number = 0; number < 100; ++number) {
        folder.Write(name(number), "part");
        std::filesystem::copy(folder.Path("here.zip.part.journal"),
                              folder.Path(name(number) + ".journal"));
        folder.Date(name(number), test::NextMonthS() + number);
        folder.Date(name(number) + ".journal", 3600);
    }
    folder.Write("mine.part", "the operator's");
    folder.Date("mine.part", 3600);
    folder.Date("here.zip.part", test::NextMonthS() + 100);
    FetchAnother([] { return std::int64_t{3600}; });
    EXPECT_FALSE(folder.Has(name(0)));
    EXPECT_FALSE(folder.Has(name(0) + ".journal"));
    EXPECT_TRUE(folder.Has(name(1)));
    EXPECT_TRUE(folder.Has("mine.part"));
    EXPECT_EQ(folder.EntryCount(), 100u * 2 + 2) << "100 pairs, other.zip and mine.part";
    EXPECT_TRUE(folder.Has("here.zip.part"));
}

TEST_F(StaleParts, LimitsTheNumberOfPartFilesWithoutAJournal)
{
    const std::string left = LeaveSmallPart("small.zip");
    folder.Date(left, test::NextMonthS());
    for (int number = 0; number < 100; ++number) {
        const std::string other = LeaveSmallPart(std::to_string(number) + ".zip");
        folder.Date(other, test::NextMonthS() + 1 + number);
    }
    EXPECT_EQ(folder.EntryCount(), 101u);
    FetchAnother([] { return std::int64_t{3600}; });
    EXPECT_FALSE(folder.Has(left));
    EXPECT_EQ(folder.EntryCount(), 101u) << "100 part files and other.zip";
}

TEST_F(StaleParts, KeepsPartFilesForAWeek)
{
    BeginAndStop();
    MakeOld("here.zip.part", test::kHourS);
    MakeOld("here.zip.part.journal", test::kHourS);
    const std::string small = LeaveSmallPart("small.zip");
    MakeOld(small, test::kHourS);
    FetchAnother();
    EXPECT_EQ(folder.EntryCount(), 4u);
}

TEST_F(StaleParts, RemovesPartFilesOfSmallFilesWithoutAJournal)
{
    for (const std::string& name :
         {std::string("small.zip"), std::string(255, 'x'), std::string("a.part")}) {
        const std::string left = LeaveSmallPart(name);
        EXPECT_EQ(Names(), (std::set<std::string>{left})) << "no journal";
        MakeOld(left);
        FetchAnother();
        EXPECT_FALSE(folder.Has(left)) << left;
        EXPECT_EQ(folder.EntryCount(), 1u);
        std::filesystem::remove(folder.Path("other.zip"));
    }
}

TEST_F(StaleParts, DownloadsASmallFileAgainBesideItsOldPartFile)
{
    const std::string left = LeaveSmallPart("small.zip");
    file = std::get<FileRecord>(
        api.GetResource(call, service.AddFile(inbox, "small.zip", "small")).value);
    EXPECT_FALSE(downloads.Fetch(call, file, folder.Path("small.zip")).IsSet());
    EXPECT_EQ(folder.Read("small.zip"), "small");
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(StaleParts, RemovesOnlyPartFilesThatTheLibraryWrote)
{
    const std::string left = LeaveSmallPart("small.zip");
    const std::string of = "small.zip";
    std::string otherDigest = left;
    otherDigest[of.size() + 1] = left[of.size() + 1] == '0' ? '1' : '0';
    const std::string names[] = {"mine.part",    "mine.part.journal", "mine.0123456789abcdef.part",
                                 "large" + left, left + ".part",      left.substr(of.size()),
                                 otherDigest};
    for (const std::string& name : names) {
        folder.Write(name, "not the library's");
        MakeOld(name);
    }
    MakeOld(left, test::kHourS);
    const kelvo::test::TempFolder elsewhere;
    elsewhere.Write("target", "");
    std::filesystem::create_symlink(elsewhere.Path("target"), folder.Path("link.part.journal"));
    FetchAnother();
    for (const std::string& name : names)
        EXPECT_EQ(folder.Read(name), "not the library's") << name;
    EXPECT_TRUE(folder.Has("link.part.journal"));
    EXPECT_TRUE(folder.Has(left)) << "less than a week old";
}

TEST_F(StaleParts, RemovesTornJournals)
{
    folder.Write("begun.part.journal", "kesdk jou");
    folder.Write("empty.part.journal", "");
    folder.Write("lost.part.journal.new", std::string(100, '\0'));
    for (const char* name : {"begun.part.journal", "empty.part.journal", "lost.part.journal.new"})
        MakeOld(name);
    FetchAnother();
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(StaleParts, SearchesEachFolderOnce)
{
    Downloads once{api, timing, &test::NextMonthS};
    EXPECT_FALSE(once.Fetch(call, file, folder.Path("here.zip")).IsSet());
    const std::string left = LeaveSmallPart("small.zip");
    MakeOld(left);
    EXPECT_FALSE(once.Fetch(call, file, folder.Path("here.zip")).IsSet());
    EXPECT_TRUE(folder.Has(left)) << "this folder was searched before";
    const kelvo::test::TempFolder elsewhere;
    std::filesystem::rename(folder.Path(left), elsewhere.Path(left));
    EXPECT_FALSE(once.Fetch(call, file, elsewhere.Path("here.zip")).IsSet());
    EXPECT_FALSE(elsewhere.Has(left));
}

} // namespace kesdk::impl
