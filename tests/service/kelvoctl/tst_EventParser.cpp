// The event stream, cut at every place.
#include "service/kelvoctl/EventParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace kelvoctl;

namespace {

constexpr std::string_view kStream = ": connected\n\n"
                                     "id: 7\nevent: file-added\ndata: {\"a\":1}\n\n"
                                     ": still here\n\n"
                                     "event: session-ended\ndata: {}\n\n";

struct Collector
{
    std::vector<Event> events;
    EventParser parser{[this](const Event& event) { events.push_back(event); }};
};

void expectTheStreamsEvents(const std::vector<Event>& events)
{
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].id, "7");
    EXPECT_EQ(events[0].name, "file-added");
    EXPECT_EQ(events[0].data, "{\"a\":1}");
    EXPECT_EQ(events[1].id, "");
    EXPECT_EQ(events[1].name, "session-ended");
}

} // namespace

TEST(EventParser, FindsTheSameEventsWhereverTheStreamIsCut)
{
    for (std::size_t cut = 0; cut <= kStream.size(); ++cut) {
        Collector collector;
        collector.parser.feed(kStream.substr(0, cut));
        collector.parser.feed(kStream.substr(cut));
        expectTheStreamsEvents(collector.events);
    }
}

TEST(EventParser, AcceptsEveryKindOfLineEnd)
{
    for (const std::string end : {"\r\n", "\r"}) {
        std::string stream;
        for (const char character : kStream) {
            stream += character == '\n' ? end : std::string(1, character);
        }
        Collector collector;
        for (const char character : stream) {
            collector.parser.feed({&character, 1});
        }
        expectTheStreamsEvents(collector.events);
    }
}

TEST(EventParser, DropsAnUnfinishedEventWhenTheConnectionIsCut)
{
    Collector collector;
    collector.parser.feed("id: 6\nevent: file-added\ndata: {\"half\":");
    collector.parser.reset();
    collector.parser.feed(kStream);
    expectTheStreamsEvents(collector.events);
}

TEST(EventParser, JoinsLinesOfDataAndSkipsEventsWithoutAny)
{
    Collector collector;
    collector.parser.feed("data:a\ndata: b\n\nid: 9\n\nunknown: x\nnovalue\ndata\n\n");
    ASSERT_EQ(collector.events.size(), 2U);
    EXPECT_EQ(collector.events[0].data, "a\nb");
    EXPECT_EQ(collector.events[1].data, "");
}
