// Takes a server-sent event stream apart, in whatever pieces it arrives.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kelvoctl {

struct Event
{
    std::string id; // Empty when the event has none.
    std::string name;
    std::string data;
};

// Feed it bytes; it calls back once for each complete event, from inside feed(). Comments and
// events without data are skipped. Lines may end in LF, CR LF or CR.
class EventParser
{
public:
    explicit EventParser(std::function<void(const Event&)> onEvent);

    void feed(std::string_view bytes);
    // The connection was cut: what was begun is dropped, for the service sends it again.
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
