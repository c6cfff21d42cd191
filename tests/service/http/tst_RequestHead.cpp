// Heads that arrive in pieces, are too large or malformed.
#include "service/http/RequestHead.h"

#include <gtest/gtest.h>

namespace kelvo::http {
namespace {

constexpr std::size_t limit = 16 * 1024;

RequestHead parse(std::string text)
{
    HeadParser parser(limit);
    EXPECT_EQ(parser.feed(text), EHeadState::Complete);
    return parser.take();
}

TEST(RequestHead, HasMethodPathQueryAndFields)
{
    const RequestHead head = parse("POST /a%20b?x=1&y HTTP/1.1\r\nHost: h\r\nContent-Length: 12\r\n"
                                   "Expect: 100-Continue\r\nX-Thing:  v \r\n\r\n");
    EXPECT_EQ(head.method, "POST");
    EXPECT_EQ(head.path, "/a%20b");
    EXPECT_EQ(head.query, "x=1&y");
    EXPECT_EQ(head.header("x-thing"), "v");
    EXPECT_EQ(head.header("absent"), "");
    EXPECT_EQ(head.contentLength, 12U);
    EXPECT_TRUE(head.expectsContinue);
    EXPECT_TRUE(head.keepAlive);
    EXPECT_FALSE(head.isChunked);
    EXPECT_FALSE(head.isHttp10);
}

TEST(RequestHead, KnowsIfTheConnectionHasToClose)
{
    EXPECT_FALSE(parse("GET / HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n").keepAlive);
    EXPECT_FALSE(parse("GET / HTTP/1.0\r\n\r\n").keepAlive);
}

TEST(RequestHead, KnowsChunkedBodies)
{
    EXPECT_TRUE(
        parse("POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: CHUNKED\r\n\r\n").isChunked);
}

EHeadState stateOf(std::string text)
{
    HeadParser parser(limit);
    return parser.feed(text);
}

TEST(RequestHead, NeedsOneHost)
{
    EXPECT_EQ(stateOf("GET / HTTP/1.1\r\n\r\n"), EHeadState::Malformed);
    EXPECT_EQ(stateOf("GET / HTTP/1.1\r\nHost: a\r\nHost: a\r\n\r\n"), EHeadState::Malformed);
    EXPECT_EQ(stateOf("GET / HTTP/1.0\r\nHost: a\r\nHost: b\r\n\r\n"), EHeadState::Malformed);
    for (const char* wrong : {"a/b", "a b", "a:b", "a:65536", "a:1:2", "::1", "[::1", "[::1]443",
                              "a]b", "a@b", "[::1]:x"}) {
        EXPECT_EQ(stateOf("GET / HTTP/1.1\r\nHost: " + std::string(wrong) + "\r\n\r\n"),
                  EHeadState::Malformed)
            << wrong;
    }
    for (const char* good :
         {"", "a:", "a:65535", "farm.example:8443", "[2001:db8::7]:443", "[::1]", "192.0.2.7"}) {
        EXPECT_EQ(stateOf("GET / HTTP/1.1\r\nHost: " + std::string(good) + "\r\n\r\n"),
                  EHeadState::Complete)
            << good;
    }
    EXPECT_EQ(stateOf("GET / HTTP/1.0\r\n\r\n"), EHeadState::Complete);
}

TEST(RequestHead, MayHaveATargetInAbsoluteForm)
{
    const std::pair<const char*, const char*> targets[] = {
        {"https://farm.example:8443/a/b", "/a/b"}, {"HTTP://h/x", "/x"}, {"https://h", "/"}};
    for (const auto& [target, path] : targets) {
        EXPECT_EQ(parse("GET " + std::string(target) + " HTTP/1.1\r\nHost: h\r\n\r\n").path, path);
    }
    const RequestHead head = parse("GET https://h?x=1 HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(head.path + " " + head.query, "/ x=1");
    EXPECT_EQ(parse("GET httpss://h/x HTTP/1.1\r\nHost: h\r\n\r\n").path, "httpss://h/x");
    for (const char* wrong : {"http:///x", "https://h:x/", "http://u@h/"}) {
        EXPECT_EQ(stateOf("GET " + std::string(wrong) + " HTTP/1.1\r\nHost: h\r\n\r\n"),
                  EHeadState::Malformed)
            << wrong;
    }
}

TEST(RequestHead, MayFollowOneEmptyLine)
{
    EXPECT_EQ(parse("\r\nGET /x HTTP/1.1\r\nHost: h\r\n\r\n").path, "/x");
    for (const char* open : {"", "\r", "\r\n"}) {
        EXPECT_EQ(stateOf(open), EHeadState::Empty) << open;
    }
    EXPECT_EQ(stateOf("\r\nGE"), EHeadState::Incomplete);
    for (const char* wrong : {"\r\n\r\n", "\rGET", "\r\n\r", "\n"}) {
        EXPECT_EQ(stateOf(wrong), EHeadState::Malformed) << wrong;
    }
}

TEST(RequestHead, TakesTheMethodFromItsOverride)
{
    const RequestHead head =
        parse("POST / HTTP/1.1\r\nHost: h\r\nX-HTTP-Method-Override: PATCH\r\n\r\n");
    EXPECT_EQ(head.method, "PATCH");
    EXPECT_FALSE(head.isHeadLine);
    EXPECT_EQ(stateOf("POST / HTTP/1.1\r\nHost: h\r\nX-HTTP-Method-Override: a\"b\r\n\r\n"),
              EHeadState::Malformed);
}

TEST(RequestHead, NamesNoTwoMethods)
{
    const std::string start = " / HTTP/1.1\r\nHost: h\r\nX-HTTP-Method-Override: ";
    for (const char* method : {"GET", "HEAD", "PATCH", "DELETE"}) {
        EXPECT_EQ(stateOf(method + start + "PUT\r\n\r\n"), EHeadState::Malformed) << method;
        EXPECT_EQ(parse(method + start + method + "\r\n\r\n").method, method);
        EXPECT_EQ(parse(method + start + "\r\n\r\n").method, method);
    }
    EXPECT_EQ(stateOf("POST" + start + "PATCH\r\nX-HTTP-Method-Override: DELETE\r\n\r\n"),
              EHeadState::Malformed);
}

TEST(RequestHead, HasNoTransferCodingInHttp10)
{
    EXPECT_EQ(stateOf("POST / HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n"),
              EHeadState::Malformed);
}

TEST(RequestHead, ParsesAHeadFromPiecesAndLeavesTheBody)
{
    const std::string text = "PUT /x HTTP/1.1\r\nHost: h\r\nContent-Length: 4\r\n\r\nbody";
    HeadParser parser(limit);
    std::string received;
    EHeadState state = EHeadState::Incomplete;
    for (std::size_t i = 0; i < text.size() - 4; ++i) {
        ASSERT_EQ(state, EHeadState::Incomplete) << "after " << i << " bytes";
        received += text[i];
        state = parser.feed(received);
    }
    EXPECT_EQ(state, EHeadState::Complete);
    EXPECT_EQ(parser.take().contentLength, 4U);

    HeadParser whole(limit);
    std::string all = text;
    ASSERT_EQ(whole.feed(all), EHeadState::Complete);
    EXPECT_EQ(all, "body");
}

TEST(RequestHead, RefusesAHeadAboveTheLimit)
{
    const std::string huge =
        "GET / HTTP/1.1\r\nHost: h\r\nX: " + std::string(limit, 'a') + "\r\n\r\n";
    HeadParser parser(limit);
    std::string received = huge;
    EXPECT_EQ(parser.feed(received), EHeadState::TooLarge);

    HeadParser slow(limit);
    std::string soFar;
    EHeadState state = EHeadState::Incomplete;
    for (std::size_t i = 0; i < huge.size() && state == EHeadState::Incomplete; i += 1000) {
        soFar += huge.substr(i, 1000);
        state = slow.feed(soFar);
    }
    EXPECT_EQ(state, EHeadState::TooLarge);
}

TEST(RequestHead, TellsALongRequestLineFromALargeHead)
{
    for (const std::size_t size : {100U, 101U, 300U}) {
        std::string line = "GET /" + std::string(size - 14, 'x') + " HTTP/1.1";
        ASSERT_EQ(line.size(), size);
        line += "\r\nHost: h\r\n\r\n";
        const EHeadState expected = size <= 100 ? EHeadState::TooLarge : EHeadState::LineTooLong;
        for (const std::size_t piece : {1U, 7U, 1000U}) {
            HeadParser parser(100);
            std::string received;
            EHeadState state = EHeadState::Incomplete;
            for (std::size_t at = 0; at < line.size() && state == EHeadState::Incomplete;
                 at += piece) {
                received += line.substr(at, piece);
                state = parser.feed(received);
            }
            EXPECT_EQ(state, expected) << size << " bytes in pieces of " << piece;
        }
    }
}

TEST(RequestHead, RefusesAHeadThatIsNotHttp)
{
    for (const char* wrong :
         {"hello\r\n\r\n", "GET /\r\n\r\n", "GET / \r\n\r\n", "GET / HTTP\r\n\r\n", "GET\r\n\r\n",
          "\r\n\r\n", "GET / HTTP/1.1\r\nHost: h\r\nno colon\r\n\r\n",
          "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: x\r\n\r\n",
          "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n"}) {
        HeadParser parser(limit);
        std::string text = wrong;
        EXPECT_EQ(parser.feed(text), EHeadState::Malformed) << wrong;
    }
}

TEST(RequestHead, HasAnExactLimitForPiecesOfAnySize)
{
    const std::string begin = "GET / HTTP/1.1\r\nHost: h\r\nX: ";
    for (const std::size_t size : {99U, 100U, 101U, 102U, 110U}) {
        const std::string head = begin + std::string(size - begin.size() - 4, 'x') + "\r\n\r\n";
        ASSERT_EQ(head.size(), size);
        const EHeadState expected = size <= 100 ? EHeadState::Complete : EHeadState::TooLarge;
        for (const std::size_t piece : {1U, 7U, 1000U}) {
            HeadParser parser(100);
            std::string received;
            EHeadState state = EHeadState::Incomplete;
            for (std::size_t at = 0; at < size && state == EHeadState::Incomplete; at += piece) {
                received += head.substr(at, piece);
                state = parser.feed(received);
            }
            EXPECT_EQ(state, expected) << size << " bytes in pieces of " << piece;
        }
    }
}

TEST(RequestHead, DoesNotCountTheBodyForItsLimit)
{
    HeadParser parser(100);
    std::string received =
        "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1000\r\n\r\n" + std::string(1000, 'x');
    EXPECT_EQ(parser.feed(received), EHeadState::Complete);
    EXPECT_EQ(received.size(), 1000U);
}

} // namespace
} // namespace kelvo::http
