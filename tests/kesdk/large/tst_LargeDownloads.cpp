// Downloads that resume at an offset above 2 and 4 GiB.
#include "base/DigestText.h"
#include "large/LargeFixture.h"
#include "transfer/Downloads.h"
#include "transfer/JournalFile.h"

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

    // Leaves a part file with the hole and the first bytes of the text, as a killed process does.
    void LeavePart(std::size_t afterHole)
    {
        WriteLarge("here.zip.part", text.substr(0, afterHole));
        const PartOrigin origin{call.account, file.id, file.etag, file.sizeBytes, file.sha256Hex};
        ASSERT_TRUE(WriteJournal(folder.Path("here.zip.part.journal"), ToPartJournal(origin)));
    }
    // Fetches as a restarted console does.
    Failure Fetch()
    {
        Downloads process{api, timing, wallTimeS};
        return process.Fetch(call, file, folder.Path("here.zip"));
    }
    // Expects a request for the text from `from`, and answers `bytes` of it. The answer's range
    // begins at `rangeBegin`.
    Answer Gives(std::size_t from, std::size_t bytes, std::int64_t rangeBegin) const
    {
        return [this, from, bytes, rangeBegin](const SentRequest& sent) {
            const std::int64_t offset = hole + static_cast<std::int64_t>(from);
            EXPECT_EQ(sent.Header("Range"), "bytes=" + std::to_string(offset) + "-");
            EXPECT_EQ(sent.Header("If-Range"), file.etag);
            const std::string range = "bytes " + std::to_string(rangeBegin) + "-" +
                                      std::to_string(sizeBytes - 1) + "/" +
                                      std::to_string(sizeBytes);
            return test::Respond(
                sent.request,
                test::MakeResponse(206, text.substr(from), {{"Content-Range", range}}), bytes);
        };
    }
    Answer Gives(std::size_t from, std::size_t bytes) const
    {
        return Gives(from, bytes, hole + static_cast<std::int64_t>(from));
    }

    FileRecord file;
};

} // namespace

TEST_P(LargeDownloads, FetchesOnlyTheMissingBytes)
{
    LeavePart(10);
    answers = {Gives(10, 20), Gives(30, text.size())};
    const Failure failure = Fetch();
    EXPECT_FALSE(failure.IsSet()) << failure.detail;
    EXPECT_EQ(lines.size(), 2u);
    EXPECT_EQ(SizeOf("here.zip"), sizeBytes);
    EXPECT_EQ(ReadAfterHole("here.zip"), text);
    EXPECT_EQ(folder.EntryCount(), 1u);
    EXPECT_EQ(test::Preallocations(), (std::vector<std::int64_t>{sizeBytes}));
}

TEST_P(LargeDownloads, ResumesAfterARestart)
{
    LeavePart(10);
    answers = {Gives(10, 20)};
    AbortAfter(1);
    EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
    EXPECT_EQ(SizeOf("here.zip.part"), hole + 30);
    EXPECT_EQ(ReadAfterHole("here.zip.part"), text.substr(0, 30));
    call.abort = nullptr;
    answers.push_back(Gives(30, text.size()));
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_EQ(ReadAfterHole("here.zip"), text);
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_P(LargeDownloads, RefusesAnotherRange)
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

TEST_P(LargeDownloads, FailsBeforeTheFirstRequestOnAFullDisk)
{
    test::SetDiskSpace(hole); // enough only for a size that is cut to 32 bits
    EXPECT_EQ(Fetch().code, EErrorCode::eDiskFull);
    EXPECT_EQ(test::Preallocations(), (std::vector<std::int64_t>{sizeBytes}));
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(folder.EntryCount(), 0u);
}

TEST_P(LargeDownloads, NamesTheFileOnlyAfterTheLastByte)
{
    for (const std::size_t afterHole : {std::size_t{1}, text.size() - 1}) {
        LeavePart(afterHole);
        lines.clear();
        answers = {Gives(afterHole, 0)};
        AbortAfter(1);
        EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
        call.abort = nullptr;
        EXPECT_FALSE(folder.Has("here.zip"));
    }
}

INSTANTIATE_TEST_SUITE_P(Holes, LargeDownloads, testing::ValuesIn(test::kHoles));

} // namespace kesdk::impl
