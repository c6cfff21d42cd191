// Uploads of one file to the service in memory.
#pragma once

#include "base/DigestText.h"
#include "support/TransferFixture.h"
#include "transfer/Uploads.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kesdk::impl {

class UploadsTest : public test::TransferFixture
{
protected:
    using Ids = std::vector<std::int64_t>;

    static inline const std::string kContent =
        "Hektar für Hektar: a report of fifty-some bytes, no more";

    // Sends and confirms, as the connection does. `between` runs before the last look at the file.
    Result<std::vector<FileRecord>> SendBy(Uploads& process, const std::string& file,
                                           const Ids& targets,
                                           const std::function<void()>& between = {})
    {
        const Result<Uploads::UploadState> sent = process.Send(call, file, targets);
        if (!sent)
            return sent.failure;
        if (between)
            between();
        return process.Confirm(call, sent.value);
    }
    Result<std::vector<FileRecord>> Send(const std::function<void()>& between = {})
    {
        return SendBy(uploads, path, {inbox}, between);
    }

    // The content of the last request that sent content.
    std::string LastContent() const
    {
        std::string last;
        for (const test::SentRequest& sent : service.Requests())
            last = sent.request.source ? sent.content : last;
        return last;
    }
    // The service stores another content than the console sent, and the file changes meanwhile.
    void SpoilTheNextUpload()
    {
        service.CorruptNextCommit();
        service.onRequest = [this, isFirst = true](const std::string& line) mutable {
            if (line == "POST /v1/uploads" && std::exchange(isFirst, false))
                folder.Date("report.txt", test::NextMonthS());
        };
    }

    // The upload succeeded, and the service holds exactly one copy, with the right content.
    void ExpectStored(const Result<std::vector<FileRecord>>& sent, const std::string& content)
    {
        EXPECT_EQ(sent.failure.code, EErrorCode::eNone) << sent.failure.detail;
        const Ids files = service.FileIds(inbox);
        ASSERT_EQ(files.size(), 1u);
        EXPECT_EQ(service.Content(files[0]), content);
        ASSERT_EQ(sent.value.size(), 1u);
        EXPECT_EQ(sent.value[0].id, files[0]);
        EXPECT_EQ(sent.value[0].containerId, inbox);
        EXPECT_EQ(sent.value[0].name, L"report.txt");
        EXPECT_EQ(sent.value[0].sizeBytes, static_cast<std::int64_t>(content.size()));
        EXPECT_EQ(sent.value[0].etag, '"' + sent.value[0].sha256Hex + '"');
    }

    void ExpectFailure(const Result<std::vector<FileRecord>>& sent, EErrorCode code)
    {
        EXPECT_EQ(sent.failure.code, code) << sent.failure.detail;
        EXPECT_TRUE(service.FileIds(inbox).empty());
    }

    // The service's answer to the key of an upload that ended long ago.
    HttpResponse EarlierResult(std::int64_t file) const
    {
        const std::string content = service.Content(file);
        Sha256 hash;
        hash.Update(content.data(), content.size());
        return test::MakeResponse(201, "{}",
                                  {{"Location", "/kelvo-api/v1/uploads/earlier"},
                                   {"Upload-Offset", std::to_string(kContent.size())},
                                   {"Kelvo-File-Ids", std::to_string(file)},
                                   {"Repr-Digest", ToReprDigest(hash.Finish())},
                                   {"Kelvo-Repeated", "true"}});
    }

    const std::string path = folder.Write("report.txt", kContent);
    Uploads uploads{api, timing, {}, wallTimeS};
};

} // namespace kesdk::impl
