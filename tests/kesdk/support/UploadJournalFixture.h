// Uploads by SDK instances that share a journal folder, like a console that is restarted.
#pragma once

#include "support/UploadFixture.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kesdk::impl {

class UploadJournalTest : public UploadsTest
{
protected:
    UploadJournalTest() { call.account = "https://service.test\n7"; }

    Result<std::vector<FileRecord>> SendAsNewProcess()
    {
        Uploads process{api, timing, state.Path("own"), wallTimeS};
        return SendBy(process, path, {inbox});
    }
    // Removes the sent file, as the console does.
    Result<std::vector<FileRecord>> SendAndRemove()
    {
        Uploads process{api, timing, state.Path("own"), wallTimeS};
        auto sent = SendBy(process, path, {inbox});
        EXPECT_EQ(JournalCount(), 1u) << "the file is still there";
        std::filesystem::remove(path);
        SendGone(process, path);
        return sent;
    }
    // The next upload removes the journals of sent files in its folder.
    void SendGone(Uploads& process, const std::string& file)
    {
        EXPECT_EQ(process.Send(call, file, {inbox}).failure.code, EErrorCode::eFileMissing);
    }
    // Leaves 30 bytes on the service.
    void BeginAndStop()
    {
        service.FailNext(Cut("POST /v1/uploads", test::Fault::EKind::eCutRequest, 20));
        service.FailNext(Cut("PATCH", test::Fault::EKind::eCutRequest, 10));
        AbortAfter("PATCH", 1);
        EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eAborted);
        call.abort = nullptr;
        EXPECT_EQ(JournalCount(), 1u);
        m_requestsBefore = service.Requests().size();
    }
    std::size_t JournalCount() const
    {
        std::error_code none;
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(state.Path("own"), none), {}));
    }
    std::filesystem::path Journal() const
    {
        return std::filesystem::directory_iterator(state.Path("own"))->path();
    }
    // The request lines since BeginAndStop.
    std::vector<std::string> SentSince() const
    {
        std::vector<std::string> lines;
        const auto requests = service.Requests();
        for (std::size_t i = m_requestsBefore; i < requests.size(); ++i)
            lines.push_back(requests[i].Line());
        return lines;
    }

    kelvo::test::TempFolder state;

private:
    std::size_t m_requestsBefore = 0;
};

} // namespace kesdk::impl
