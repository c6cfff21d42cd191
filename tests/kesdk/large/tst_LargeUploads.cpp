// Uploads that resume at an offset above 2 and 4 GiB.
#include "base/DigestText.h"
#include "large/LargeFixture.h"
#include "transfer/Uploads.h"

#include <nlohmann/json.hpp>

namespace kesdk::impl {

namespace {

using test::SentRequest;

constexpr std::int64_t kFile = 7;

class LargeUploads : public test::LargeFixture
{
protected:
    using Answer = std::function<HttpOutcome(const SentRequest&)>;

    Result<std::vector<FileRecord>> Send()
    {
        Uploads process{api, timing, state.Path("own"), wallTimeS};
        const Result<Uploads::UploadState> sent = process.Send(call, path, {10});
        if (!sent)
            return sent.failure;
        return process.Confirm(call, sent.value);
    }

    // Expects a request with the whole file, and drops the link before the first byte.
    Answer TakesNothing() const
    {
        return [this](const SentRequest& sent) {
            EXPECT_EQ(sent.Header("Upload-Length"), std::to_string(sizeBytes));
            EXPECT_EQ(sent.request.source ? sent.request.source->LengthBytes() : 0, sizeBytes);
            return test::Drop();
        };
    }
    // Answers an offset `afterHole` bytes after the hole.
    Answer Offset(std::int64_t afterHole, int status) const
    {
        return [this, afterHole, status](const SentRequest& sent) {
            EXPECT_EQ(sent.request.source, nullptr);
            HttpOutcome outcome;
            outcome.response =
                test::MakeResponse(status, {},
                                   {{"Location", "/kelvo-api/v1/uploads/u1"},
                                    {"Upload-Offset", std::to_string(hole + afterHole)}});
            return outcome;
        };
    }
    // Expects a request with the text from `from`, and takes `bytes` of it.
    Answer Takes(std::size_t from, std::size_t bytes) const
    {
        return [this, from, bytes](const SentRequest& sent) {
            const std::int64_t offset = hole + static_cast<std::int64_t>(from);
            EXPECT_EQ(sent.Header("Upload-Offset"), std::to_string(offset));
            if (!sent.request.source)
                return test::Drop();
            EXPECT_EQ(sent.request.source->LengthBytes(), sizeBytes - offset);
            bool failed = false;
            EXPECT_EQ(test::ReadBody(sent.request, bytes, failed), text.substr(from, bytes));
            EXPECT_FALSE(failed);
            if (from + bytes < text.size())
                return test::Drop();
            HttpOutcome outcome;
            outcome.response = test::MakeResponse(204, {},
                                                  {{"Upload-Offset", std::to_string(sizeBytes)},
                                                   {"Kelvo-File-Ids", std::to_string(kFile)},
                                                   {"Repr-Digest", ToReprDigest(digest)}});
            return outcome;
        };
    }
    // Answers the result, with the record of the file.
    Answer Stored() const
    {
        return [this](const SentRequest& sent) {
            EXPECT_EQ(sent.request.source, nullptr);
            const nlohmann::json record = {
                {"id", kFile},          {"kind", "file"},
                {"name", "report.zip"}, {"container", 10},
                {"size", sizeBytes},    {"sha256", ToHex(digest)},
                {"etag", "\"etag\""},   {"created_at", "2026-01-01T00:00:00Z"}};
            HttpOutcome outcome;
            outcome.response = test::MakeResponse(201, nlohmann::json{{"files", {record}}}.dump(),
                                                  {{"Location", "/kelvo-api/v1/uploads/u1"},
                                                   {"Upload-Offset", std::to_string(sizeBytes)},
                                                   {"Kelvo-File-Ids", std::to_string(kFile)},
                                                   {"Repr-Digest", ToReprDigest(digest)}});
            return outcome;
        };
    }
    void ExpectStored(const Result<std::vector<FileRecord>>& sent)
    {
        ASSERT_TRUE(sent) << sent.failure.detail;
        ASSERT_EQ(sent.value.size(), 1u);
        EXPECT_EQ(sent.value[0].id, kFile);
        EXPECT_EQ(sent.value[0].sizeBytes, sizeBytes);
        EXPECT_EQ(sent.value[0].sha256Hex, ToHex(digest));
        EXPECT_EQ(lines.size(), answers.size());
    }

    kelvo::test::TempFolder state;
    const std::string path = WriteLarge("report.zip", text);
};

} // namespace

TEST_P(LargeUploads, SendsOnlyTheMissingBytes)
{
    answers = {TakesNothing(), Offset(10, 201), Offset(10, 201),
               Takes(10, 20),  Offset(30, 201), Takes(30, text.size() - 30),
               Stored()};
    ExpectStored(Send());
    EXPECT_EQ(lines[4], "POST /v1/uploads");
}

TEST_P(LargeUploads, ResumesAfterARestart)
{
    answers = {TakesNothing(), Offset(10, 201), Offset(10, 201), Takes(10, 20)};
    AbortAfter(4);
    EXPECT_EQ(Send().failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    answers.insert(answers.end(),
                   {Offset(30, 201), Offset(30, 201), Takes(30, text.size() - 30), Stored()});
    ExpectStored(Send());
    EXPECT_EQ(lines[4], "POST /v1/uploads");
}

TEST_P(LargeUploads, RefusesAnOffsetAfterTheEnd)
{
    for (const std::int64_t beyond :
         {std::int64_t{1}, std::int64_t{1} << 31, std::int64_t{1} << 32, std::int64_t{1} << 40}) {
        std::filesystem::remove_all(state.Path("own")); // the journal of the last round
        lines.clear();
        answers.assign(7, Offset(static_cast<std::int64_t>(text.size()) + beyond, 201));
        answers.front() = TakesNothing();
        EXPECT_EQ(Send().failure.code, EErrorCode::eBadAnswer) << beyond;
        EXPECT_EQ(lines.size(), 7u) << beyond << ": all of them ask for the offset";
    }
}

INSTANTIATE_TEST_SUITE_P(Holes, LargeUploads, testing::ValuesIn(test::kHoles));

} // namespace kesdk::impl
