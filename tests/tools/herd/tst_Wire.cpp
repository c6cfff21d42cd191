#include "tools/herd/Content.h"
#include "tools/herd/EventParser.h"
#include "tools/herd/Http.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

using namespace herd;

namespace {

/** The answer to `request`, in pieces of `size` bytes. */
Answer readInPieces(const Request& request, std::string_view text, std::size_t size)
{
    AnswerReader reader(request);
    for (; !text.empty(); text.remove_prefix(std::min(size, text.size()))) {
        reader.take(text.substr(0, size));
    }
    if (!reader.isWhole()) {
        reader.takeEnd();
    }
    return reader.answer();
}

} // namespace

TEST(AnswerReader, ReadsAnAnswerInPiecesOfAnySize)
{
    const std::string text = "HTTP/1.1 201 Created\r\nlocation: /u/1\r\nUpload-Offset: 7\r\n"
                             "Content-Length: 5\r\n\r\nhello";
    const Request request = requestTo("POST", "/x");
    for (std::size_t size = 1; size <= text.size(); ++size) {
        const Answer answer = readInPieces(request, text, size);
        EXPECT_EQ(answer.status, 201);
        EXPECT_EQ(answer.location, "/u/1");
        EXPECT_EQ(answer.offset, "7");
        EXPECT_EQ(answer.body, "hello");
    }
}

TEST(AnswerReader, ReadsAnAnswerToHeadWithoutABody)
{
    const Answer answer =
        readInPieces(requestTo("HEAD", "/x"), "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n", 100);
    EXPECT_EQ(answer.status, 200);
}

TEST(AnswerReader, RefusesAnAnswerThatEndsTooEarly)
{
    const Request request = requestTo("GET", "/x");
    const std::string text = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhell";
    EXPECT_THROW(readInPieces(request, text, 100), std::runtime_error);
    EXPECT_THROW(readInPieces(request, text.substr(0, 20), 100), std::runtime_error);
    EXPECT_THROW(readInPieces(request, "", 100), std::runtime_error);
    EXPECT_THROW(readInPieces(request, "nonsense\r\n\r\n", 100), std::runtime_error);
}

TEST(AnswerReader, GivesOnlyContentsToTheSink)
{
    std::string got;
    Request request = requestTo("GET", "/x");
    request.sink = [&got](const Answer&, std::string_view bytes) { got += bytes; };
    readInPieces(request, "HTTP/1.1 503 Busy\r\nRetry-After: 9\r\nContent-Length: 2\r\n\r\nno", 3);
    EXPECT_EQ(got, "");
    readInPieces(request, "HTTP/1.1 206 Part\r\nContent-Length: 2\r\n\r\nok", 3);
    EXPECT_EQ(got, "ok");
}

TEST(EventParser, FindsEventsInPiecesOfAnySize)
{
    const std::string text = ": connected\n\nid: 12\nevent: file-added\ndata: {\"a\":1}\n\n"
                             "event: session-ended\ndata: {}\n\nid: 13\nevent: cut";
    for (std::size_t size = 1; size <= text.size(); ++size) {
        std::vector<std::string> events;
        EventParser parser;
        for (std::size_t at = 0; at < text.size(); at += size) {
            parser.feed(std::string_view(text).substr(at, size), [&](const ServerSentEvent& event) {
                events.push_back(event.id + '|' + event.name + '|' + event.data);
            });
        }
        EXPECT_EQ(events,
                  (std::vector<std::string>{"12|file-added|{\"a\":1}", "|session-ended|{}"}));
    }
}

TEST(Content, GivesTheSameBytesFromAnyOffset)
{
    const Content content(5, 1000);
    std::string whole(2000, '\0');
    ASSERT_EQ(content.read(0, whole), 1000U);
    for (const std::uint64_t offset : {1U, 7U, 8U, 13U, 999U}) {
        std::string rest(2000, '\0');
        ASSERT_EQ(content.read(offset, rest), 1000 - offset);
        EXPECT_EQ(rest.substr(0, 1000 - offset), whole.substr(offset, 1000 - offset));
    }
    EXPECT_EQ(content.read(1000, whole), 0U);
    EXPECT_NE(content.digest(), Content(6, 1000).digest());
    EXPECT_NE(content.digest(), Content(5, 999).digest());
}
