#include "service/kelvoctl/EventParser.h"

#include <utility>

namespace kelvoctl {

EventParser::EventParser(std::function<void(const Event&)> onEvent) : m_onEvent(std::move(onEvent))
{}

void EventParser::feed(std::string_view bytes)
{
    for (const char character : bytes) {
        const bool endsPair = character == '\n' && m_afterCarriageReturn;
        m_afterCarriageReturn = character == '\r';
        if (endsPair) {
            continue;
        }
        if (character == '\n' || character == '\r') {
            endLine();
        } else {
            m_line += character;
        }
    }
}

void EventParser::reset()
{
    m_line.clear();
    m_event = {};
    m_hasData = false;
    m_afterCarriageReturn = false;
}

void EventParser::endLine()
{
    const std::string line = std::exchange(m_line, {});
    if (line.empty()) {
        dispatch();
        return;
    }
    const std::size_t colon = line.find(':');
    std::string_view value;
    if (colon != std::string::npos) {
        value = std::string_view(line).substr(colon + 1);
        if (value.starts_with(' ')) {
            value.remove_prefix(1);
        }
    }
    field(std::string_view(line).substr(0, colon), value);
}

void EventParser::field(std::string_view name, std::string_view value)
{
    if (name == "id") {
        m_event.id = value;
    } else if (name == "event") {
        m_event.name = value;
    } else if (name == "data") {
        m_event.data += m_hasData ? "\n" : "";
        m_event.data += value;
        m_hasData = true;
    }
}

void EventParser::dispatch()
{
    const Event event = std::exchange(m_event, {});
    if (std::exchange(m_hasData, false)) {
        m_onEvent(event);
    }
}

} // namespace kelvoctl
