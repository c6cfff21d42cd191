// The event stream's format, also cut at any byte.
#include "account/EventParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kesdk::impl {

namespace {

using Events = std::vector<std::string>;

// Each event as "id|name|data".
Events Parse(const std::vector<std::string>& pieces, bool* isGood = nullptr)
{
    Events events;
    EventParser parser([&](const ServerSentEvent& event) {
        events.push_back(event.id + "|" + event.name + "|" + event.data);
    });
    for (const std::string& piece : pieces) {
        const bool good = parser.Feed(piece.data(), piece.size());
        if (isGood)
            *isGood = good;
    }
    return events;
}

const std::string kStream = "\xEF\xBB\xBF: connected\n\n"
                            "id: 7\nevent: file-added\ndata: {\"a\":1}\n\n"
                            ": still here\n\n"
                            "id: 8\r\nevent: file-removed\r\ndata: {}\r\n\r\n"
                            "event:x\rdata:1\rdata: 2\r\r"
                            "retry: 5\n\n"
                            "data\n\n"
                            "id: 9\ndata: unfinished\n";
const Events kExpected = {"7|file-added|{\"a\":1}", "8|file-removed|{}", "8|x|1\n2", "8||"};

} // namespace

TEST(EventParser, ReadsEventsCommentsAndAllLineEnds)
{
    EXPECT_EQ(Parse({kStream}), kExpected);
}

TEST(EventParser, ReadsTheSameWhenTheStreamIsCutAtAnyByte)
{
    for (std::size_t at = 0; at <= kStream.size(); ++at)
        EXPECT_EQ(Parse({kStream.substr(0, at), kStream.substr(at)}), kExpected) << at;
}

TEST(EventParser, ReadsTheSameByteByByte)
{
    std::vector<std::string> bytes;
    for (const char byte : kStream)
        bytes.emplace_back(1, byte);
    EXPECT_EQ(Parse(bytes), kExpected);
}

TEST(EventParser, RefusesALineWithoutEnd)
{
    bool isGood = true;
    Parse({"data: ", std::string(2 * 1024 * 1024, 'x')}, &isGood);
    EXPECT_FALSE(isGood);
}

TEST(EventParser, RefusesAnEventWithoutEnd)
{
    bool isGood = true;
    const std::string line = "data: " + std::string(100'000, 'x') + "\n";
    Parse(std::vector<std::string>(20, line), &isGood);
    EXPECT_FALSE(isGood);
}

TEST(EventParser, IgnoresAnIdWithControlCharacters)
{
    EXPECT_EQ(
        Parse({std::string("id: 7\ndata: a\n\nid: 8\x01\ndata: b\n\nid: 9\0\ndata: c\n\n", 47)}),
        (Events{"7||a", "7||b", "7||c"}));
}

} // namespace kesdk::impl
