// Splits a stream of server-sent events into events.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace herd {

struct ServerSentEvent
{
    std::string id; // empty: the event has none
    std::string name;
    std::string data;
};

/**
 * Takes lines that end in LF and fields with one line of data, as the service sends them. Keeps at
 * most one incomplete event.
 */
class EventParser
{
public:
    /** Calls `onEvent` for each event that ends in `bytes`. Comments are dropped. */
    void feed(std::string_view bytes, const std::function<void(const ServerSentEvent&)>& onEvent);

    /** Forgets an incomplete event. */
    void reset();

private:
    void takeLine(std::string_view line,
                  const std::function<void(const ServerSentEvent&)>& onEvent);

    std::string line_;
    ServerSentEvent event_;
};

} // namespace herd
