// Downloads that go on behind 2 and 4 GiB.
#include "base/DigestText.h"
#include "large/LargeFixture.h"
#include "transfer/Downloads.h"

namespace kesdk::impl {

namespace {

using test::SentRequest;

class LargeDownloads : public test::LargeFixture
{
protected:
    using Answer = std::function<HttpOutcome(const SentRequest&)>;

    LargeDownloads()
    {
        file.id = 7;
        file.containerId = 10;
        file.name = L"line.zip";
        file.sizeBytes = sizeBytes;
        file.sha256Hex = ToHex(digest);
        file.etag = "\"e\"";
    }

    // Leaves the hole and so much of the text, as a console that was switched off would.
    void LeavePart(std::size_t behindHole)
    {
        WriteLarge("here.zip.part", text.substr(0, behindHole));
        const PartOrigin origin{call.account, file.id, file.etag, file.sizeBytes, file.sha256Hex};
        ASSERT_TRUE(WritePartJournal(folder.Path("here.zip.part.journal"), origin));
    }
    // By a console that was started anew.
    Failure Fetch()
    {
        Downloads process{api};
        return process.Fetch(call, file, folder.Path("here.zip"));
    }
    // Asked must be for what stands behind `from`; so much of it arrives. `said` is where the
    // answer says that it begins.
    Answer Gives(std::size_t from, std::size_t bytes, std::int64_t said) const
    {
        return [this, from, bytes, said](const SentRequest& sent) {
            const std::int64_t offset = hole + static_cast<std::int64_t>(from);
            EXPECT_EQ(sent.Header("Range"), "bytes=" + std::to_string(offset) + "-");
            EXPECT_EQ(sent.Header("If-Range"), file.etag);
            const std::string range = "bytes " + std::to_string(said) + "-" +
                                      std::to_string(sizeBytes - 1) + "/" +
                                      std::to_string(sizeBytes);
            return test::Respond(sent.request,
                                 test::Reply(206, text.substr(from), {{"Content-Range", range}}),
                                 bytes);
        };
    }
    Answer Gives(std::size_t from, std::size_t bytes) const
    {
        return Gives(from, bytes, hole + static_cast<std::int64_t>(from));
    }

    FileRecord file;
};

} // namespace

TEST_P(LargeDownloads, FetchOnlyWhatLacks)
{
    LeavePart(10);
    answers = {Gives(10, 20), Gives(30, text.size())};
    const Failure failure = Fetch();
    EXPECT_FALSE(failure.IsSet()) << failure.detail;
    EXPECT_EQ(lines.size(), 2u);
    EXPECT_EQ(SizeOf("here.zip"), sizeBytes);
    EXPECT_EQ(ReadBehindHole("here.zip"), text);
    EXPECT_EQ(folder.EntryCount(), 1u);
    EXPECT_EQ(test::Claims(), (std::vector<std::int64_t>{sizeBytes}));
}

TEST_P(LargeDownloads, AreKeptForARestartedConsole)
{
    LeavePart(10);
    answers = {Gives(10, 20)};
    StopBehind(1);
    EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
    EXPECT_EQ(SizeOf("here.zip.part"), hole + 30);
    EXPECT_EQ(ReadBehindHole("here.zip.part"), text.substr(0, 30));
    call.abort = nullptr;
    answers.push_back(Gives(30, text.size()));
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_EQ(ReadBehindHole("here.zip"), text);
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_P(LargeDownloads, TakeNoOtherRangeThanTheirs)
{
    for (const std::int64_t other : {std::int64_t{10}, std::int64_t{0}, hole, hole + 11,
                                     hole + 10 + (std::int64_t{1} << 32)}) {
        LeavePart(10);
        lines.clear();
        answers = {Gives(10, text.size(), other)};
        EXPECT_EQ(Fetch().code, EErrorCode::eDamaged) << other;
        EXPECT_EQ(folder.EntryCount(), 0u) << other;
    }
}

TEST_P(LargeDownloads, AskForNothingThatTheDiskCannotHold)
{
    test::SetDiskSpace(hole); // enough for what the size is when it is cut to 32 bits
    EXPECT_EQ(Fetch().code, EErrorCode::eDiskFull);
    EXPECT_EQ(test::Claims(), (std::vector<std::int64_t>{sizeBytes}));
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(folder.EntryCount(), 0u);
}

TEST_P(LargeDownloads, AreNotDoneBeforeTheirEnd)
{
    for (const std::size_t behindHole : {std::size_t{1}, text.size() - 1}) {
        LeavePart(behindHole);
        lines.clear();
        answers = {Gives(behindHole, 0)};
        StopBehind(1);
        EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
        call.abort = nullptr;
        EXPECT_FALSE(folder.Has("here.zip"));
    }
}

INSTANTIATE_TEST_SUITE_P(Holes, LargeDownloads, testing::ValuesIn(test::kHoles));

} // namespace kesdk::impl
