// What killed downloads have left behind, and what only looks so.
#include "support/ResumeFixture.h"

#include <chrono>
#include <set>

namespace kesdk::impl {

namespace {

using test::Fault;

class StaleParts : public test::ResumeFixture
{
protected:
    // As if it had been written last a little more than a week ago, or a little less.
    void MakeOld(const std::string& name, std::chrono::hours less = std::chrono::hours(-1)) const
    {
        std::filesystem::last_write_time(folder.Path(name),
                                         std::filesystem::file_time_type::clock::now() -
                                             std::chrono::hours(7 * 24) + less);
    }
    // Leaves the part of a small file that a killed process would; gives its name.
    std::string LeaveSmallPart(const std::string& name)
    {
        const FileRecord small =
            *api.GetResource(call, service.AddFile(inbox, name, "small")).value.file;
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
    // By a console that was started anew.
    void FetchAnother()
    {
        Downloads others{api};
        EXPECT_FALSE(others.Fetch(call, file, folder.Path("other.zip")).IsSet());
        EXPECT_TRUE(folder.Has("other.zip"));
    }
};

} // namespace

TEST_F(StaleParts, GoWithTheirJournals)
{
    BeginAndStop();
    MakeOld("here.zip.part.journal");
    FetchAnother();
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(StaleParts, StayForAWeek)
{
    BeginAndStop();
    MakeOld("here.zip.part.journal", std::chrono::hours(1));
    const std::string small = LeaveSmallPart("small.zip");
    MakeOld(small, std::chrono::hours(1));
    FetchAnother();
    EXPECT_EQ(folder.EntryCount(), 4u);
}

TEST_F(StaleParts, OfSmallFilesGoWithoutAJournal)
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

TEST_F(StaleParts, OfAnInterruptedSmallFileDoNotHinderTheNext)
{
    const std::string left = LeaveSmallPart("small.zip");
    file = *api.GetResource(call, service.AddFile(inbox, "small.zip", "small")).value.file;
    EXPECT_FALSE(downloads.Fetch(call, file, folder.Path("small.zip")).IsSet());
    EXPECT_EQ(folder.Read("small.zip"), "small");
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(StaleParts, GoOnlyWhenTheyAreOurs)
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
    const test::TempFolder elsewhere;
    elsewhere.Write("target", "");
    std::filesystem::create_symlink(elsewhere.Path("target"), folder.Path("link.part.journal"));
    FetchAnother();
    for (const std::string& name : names)
        EXPECT_EQ(folder.Read(name), "not the library's") << name;
    EXPECT_TRUE(folder.Has("link.part.journal"));
    EXPECT_TRUE(folder.Has(left)) << "too young";
}

TEST_F(StaleParts, AreNotKeptByAJournalThatALossOfPowerTore)
{
    folder.Write("begun.part.journal", "kesdk jou");
    folder.Write("empty.part.journal", "");
    folder.Write("lost.part.journal.new", std::string(100, '\0'));
    for (const char* name : {"begun.part.journal", "empty.part.journal", "lost.part.journal.new"})
        MakeOld(name);
    FetchAnother();
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(StaleParts, AreLookedForOnceInEachFolder)
{
    EXPECT_FALSE(Fetch().IsSet());
    const std::string left = LeaveSmallPart("small.zip");
    MakeOld(left);
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_TRUE(folder.Has(left)) << "this one was swept already";
    const test::TempFolder elsewhere;
    std::filesystem::rename(folder.Path(left), elsewhere.Path(left));
    EXPECT_FALSE(downloads.Fetch(call, file, elsewhere.Path("here.zip")).IsSet());
    EXPECT_FALSE(elsewhere.Has(left));
}

} // namespace kesdk::impl
