#include "service/events/Visibility.h"

namespace kelvo::events {

std::string_view dataFor(const store::Event& event, const store::User& user)
{
    if (user.farmId() == 0 || user.farmId() != event.farm) {
        return {};
    }
    const bool owns = event.owner != 0 && event.owner == user.id;
    return owns || user.role == store::ERole::Office ? event.fullData : event.commonData;
}

std::string asServerSentEvent(const store::Event& event, std::string_view data)
{
    std::string text = "id: " + std::to_string(event.id) + "\nevent: " + event.name + "\ndata: ";
    text += data;
    text += "\n\n";
    return text;
}

std::string sessionEndedEvent(std::string_view reason)
{
    std::string text = "event: session-ended\ndata: {\"reason\":\"";
    text += reason;
    text += "\"}\n\n";
    return text;
}

} // namespace kelvo::events
