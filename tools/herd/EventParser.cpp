#include "tools/herd/EventParser.h"

#include <utility>

namespace herd {

void EventParser::feed(std::string_view bytes,
                       const std::function<void(const ServerSentEvent&)>& onEvent)
{
    for (std::size_t end = bytes.find('\n'); end != bytes.npos; end = bytes.find('\n')) {
        line_ += bytes.substr(0, end);
        bytes.remove_prefix(end + 1);
        takeLine(line_, onEvent);
        line_ = std::string(); // an idle stream needs no buffer
    }
    line_ += bytes;
}

void EventParser::reset()
{
    line_.clear();
    event_ = {};
}

void EventParser::takeLine(std::string_view line,
                           const std::function<void(const ServerSentEvent&)>& onEvent)
{
    struct Field
    {
        std::string_view beginning;
        std::string ServerSentEvent::*value;
    };
    constexpr Field fields[] = {{"id: ", &ServerSentEvent::id},
                                {"event: ", &ServerSentEvent::name},
                                {"data: ", &ServerSentEvent::data}};
    for (const Field& field : fields) {
        if (line.starts_with(field.beginning)) {
            event_.*field.value = line.substr(field.beginning.size());
        }
    }
    if (line.empty()) {
        const ServerSentEvent whole = std::exchange(event_, {});
        if (!whole.name.empty()) {
            onEvent(whole);
        }
    }
}

} // namespace herd
