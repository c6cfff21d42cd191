// Parses a server-sent event stream from pieces of any size.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kelvoctl {

struct Event
{
    std::string id; // empty if the event has no id
    std::string name;
    std::string data;
};

// feed() calls `onEvent` once for each complete event. Comments and events without data are
// skipped. Lines may end in LF, CR LF or CR.
class EventParser
{
public:
    explicit EventParser(std::function<void(const Event&)> onEvent);

    void feed(std::string_view bytes);
    // Called when the connection was cut. Drops the unfinished event: the service sends it again.
    void reset();

private:
    void endLine();
    void field(std::string_view name, std::string_view value);
    void dispatch();

    std::function<void(const Event&)> m_onEvent;
    std::string m_line;
    Event m_event;
    bool m_hasData = false;
    bool m_afterCarriageReturn = false;
};

} // namespace kelvoctl
