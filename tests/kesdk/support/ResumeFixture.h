// Downloads of a large file that stop on the way.
#pragma once

#include "support/TransferFixture.h"
#include "transfer/Downloads.h"

namespace kesdk::test {

inline std::string LargeContent()
{
    std::string content(100'000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 + i / 253);
    return content;
}

inline constexpr std::size_t kCutAt = 70'000;

class ResumeFixture : public TransferFixture
{
protected:
    ResumeFixture() { call.account = "https://service.test\n7"; }

    impl::Failure Fetch() { return downloads.Fetch(call, file, folder.Path("here.zip")); }
    // Leaves a part file with the first 70,000 bytes.
    void BeginAndStop()
    {
        service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, kCutAt));
        AbortAfter("GET /v1/resources/", service.Count("GET /v1/resources/") + 1);
        EXPECT_EQ(Fetch().code, impl::EErrorCode::eAborted);
        call.abort = nullptr;
        ASSERT_EQ(folder.Read("here.zip.part"), content.substr(0, kCutAt));
        EXPECT_FALSE(folder.Has("here.zip"));
    }
    // The download succeeds, its request asks for the bytes from `fromByte`, no other file is left.
    void ExpectSaved(std::size_t fromByte)
    {
        const impl::Failure failure = Fetch();
        EXPECT_EQ(failure.code, impl::EErrorCode::eNone) << failure.detail;
        EXPECT_TRUE(folder.Read("here.zip") == content);
        EXPECT_EQ(folder.EntryCount(), 1u);
        const SentRequest last = service.Requests().back();
        const std::string range = "bytes=" + std::to_string(fromByte) + "-";
        EXPECT_EQ(last.Header("Range"), fromByte > 0 ? range : "");
        EXPECT_EQ(last.Header("If-Range"), fromByte > 0 ? file.etag : "");
    }

    const std::string content = LargeContent();
    const std::int64_t id = service.AddFile(inbox, "line.zip", content);
    impl::FileRecord file = std::get<impl::FileRecord>(api.GetResource(call, id).value);
    impl::Downloads downloads{api, timing, wallTimeS};
};

} // namespace kesdk::test
