// Receiving a body from the connection to the disk.
#include "service/api/ReceiveBody.h"
#include "service/base/Digest.h"
#include "service/content/Contents.h"
#include "service/content/UploadWriter.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <mutex>
#include <vector>

#include <sys/resource.h>

namespace kelvo::api {
namespace {

class Receiving : public testing::Test
{
protected:
    /** Receives a body of this length from a peer that sends `text` and then closes its side. */
    bool receive(const std::string& text, std::uint64_t contentLength)
    {
        test::TcpPair pair(loop.io());
        http::RequestHead head;
        head.contentLength = contentLength;
        std::string early;
        http::BodyReader body(*pair.server, limits, head, early);
        loop.start(say(*pair.client, text));
        return loop.run(receiveBody(body, sink, pool, pause));
    }

    static Async<void> say(http::Transport& client, std::string text)
    {
        co_await client.write(asio::buffer(text));
        co_await client.shutdownSend();
    }

    /** Several times larger than the buffers, without repetitions. */
    static std::string largeText()
    {
        std::string text;
        for (int i = 0; text.size() < 1500000; ++i) {
            text += std::to_string(i) + ",";
        }
        return text;
    }

    test::Loop loop;
    test::TempFolder folder;
    content::ContentStore store{folder.Path()};
    content::DigestCache digests;
    http::Limits limits;
    WorkPool pool{2};
    content::UploadWriter writer{store, digests, "u1"};
    const Sink sink = [this](const void* data, std::size_t sizeBytes) {
        writer.append(data, sizeBytes);
    };
    Pause pause;
};

TEST_F(Receiving, WritesTheWholeBodyInOrder)
{
    const std::string text = largeText();
    EXPECT_TRUE(receive(text, text.size()));
    EXPECT_EQ(writer.finish(), sha256Hex(text));
    EXPECT_EQ(readFile(folder.Path() / "uploads" / "u1"), text);
}

TEST_F(Receiving, ReceivesAnEmptyBody)
{
    EXPECT_TRUE(receive("", 0));
    EXPECT_EQ(writer.offset(), 0U);
}

TEST_F(Receiving, WritesAllReceivedBytesOfACutBody)
{
    const std::string text = largeText();
    EXPECT_FALSE(receive(text, text.size() * 2));
    EXPECT_EQ(writer.offset(), text.size());
    EXPECT_EQ(readFile(folder.Path() / "uploads" / "u1"), text);
}

TEST_F(Receiving, WritesReceivedBytesWhileThePeerPauses)
{
    test::TcpPair pair(loop.io());
    http::RequestHead head;
    head.contentLength = 1000000;
    std::string early;
    http::BodyReader body(*pair.server, limits, head, early);
    bool ended = false;
    const auto receiving = [&]() -> Async<void> {
        co_await receiveBody(body, sink, pool, pause);
        ended = true;
    };
    loop.start(receiving());
    const std::filesystem::path file = folder.Path() / "uploads" / "u1";
    for (const std::size_t sizeBytes : {1000U, 2000U, 3000U}) {
        loop.start(test::sendText(*pair.client, std::string(1000, 'x')));
        loop.runUntil([&] { return std::filesystem::file_size(file) == sizeBytes; });
    }
    EXPECT_FALSE(ended);
    pair.client->abort();
    loop.runUntil([&ended] { return ended; });
}

TEST_F(Receiving, RunsTheWorkOfAPauseOnceUntilMoreBytesArrive)
{
    test::TcpPair pair(loop.io());
    http::RequestHead head;
    head.contentLength = 1000000;
    std::string early;
    http::BodyReader body(*pair.server, limits, head, early);
    std::mutex mutex; // guards pauses
    std::vector<std::uint64_t> pauses;
    pause = {[&] {
                 const std::lock_guard lock(mutex);
                 pauses.push_back(writer.offset());
             },
             std::chrono::milliseconds(0)};
    bool ended = false;
    const auto receiving = [&]() -> Async<void> {
        ended = !co_await receiveBody(body, sink, pool, pause);
    };
    loop.start(receiving());
    for (const std::size_t count : {1U, 2U, 3U}) {
        loop.start(test::sendText(*pair.client, std::string(1000, 'x')));
        loop.runUntil([&] {
            const std::lock_guard lock(mutex);
            return pauses.size() >= count;
        });
    }
    pair.client->abort();
    loop.runUntil([&ended] { return ended; });
    EXPECT_THAT(pauses, testing::ElementsAre(1000U, 2000U, 3000U));
}

TEST_F(Receiving, EndsIfTheWorkOfAPauseFails)
{
    test::TcpPair pair(loop.io());
    http::RequestHead head;
    head.contentLength = 1000000;
    std::string early;
    http::BodyReader body(*pair.server, limits, head, early);
    pause = {[] { throw content::Superseded(); }, std::chrono::milliseconds(0)};
    loop.start(test::sendText(*pair.client, "x"));
    EXPECT_THROW(loop.run(receiveBody(body, sink, pool, pause)), content::Superseded);
}

TEST_F(Receiving, ThrowsIfTheDiskIsFull)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit limited = before;
    limited.rlim_cur = 600000;
    setrlimit(RLIMIT_FSIZE, &limited);
    const std::string text = largeText();
    EXPECT_THROW(receive(text, text.size()), std::system_error);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(readFile(folder.Path() / "uploads" / "u1"), text.substr(0, 600000));
}

} // namespace
} // namespace kelvo::api
