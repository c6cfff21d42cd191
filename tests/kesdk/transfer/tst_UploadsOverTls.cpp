// Uploads over real connections that die.
#include "connection/ErrorTexts.h"
#include "support/CurlFixture.h"
#include "support/FakeTime.h"
#include "transfer/Uploads.h"

#include <memory>
#include <string>
#include <utility>

namespace kesdk::impl {

namespace {

using UploadsOverTls = CurlTransportTest;

} // namespace

// The kept connection dies under the first file. Then no handshake succeeds: the link drops, or the
// login page of a network answers.
TEST_F(UploadsOverTls, GivesTwoFilesTheSameTimeAndTextWhenTheKeptConnectionDies)
{
    const std::pair<std::string, EErrorCode> cases[] = {
        {"", EErrorCode::eNoProgress}, {kPortalAnswer, EErrorCode::eCaptivePortal}};
    for (const auto& [answer, expected] : cases) {
        const PeerThatStopsTls peer(GoodIdentity(), answer);
        CurlTransport transport(peer.Url(), Trust());
        const auto time = std::make_shared<test::FakeTime>();
        test::FakeTiming timing{time, 1.0};
        RetryingClient http{transport, timing};
        ApiClient api{http};
        Uploads uploads{api, timing, {}, RealConsoleFacts().wallTimeS};
        EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
        Clock::Time::duration lasted[2] = {};
        std::wstring texts[2];
        for (int file = 0; file < 2; ++file) {
            const Clock::Time begin = time->Now();
            const std::string path = folder.Write(std::to_string(file), "a report");
            const Failure failure = uploads.Send({}, path, {1}).failure;
            EXPECT_EQ(failure.code, expected) << failure.detail;
            lasted[file] = time->Now() - begin;
            texts[file] = Describe(failure, L"a report").text1;
            time->Advance(std::chrono::minutes(3)); // the transfer before was given up long ago
        }
        EXPECT_EQ(texts[0], texts[1]);
        // libcurl may report the first connection's end: then the portal is noticed in the retry.
        EXPECT_LE(lasted[0] - lasted[1], std::chrono::milliseconds(500));
        EXPECT_GE(lasted[0], lasted[1]);
    }
}

} // namespace kesdk::impl
