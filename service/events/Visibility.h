// Who may hear of what.
#pragma once

#include "service/store/Records.h"

#include <string>
#include <string_view>

namespace kelvo::events {

/** The event's data as this user may see it; empty if it is not for them. */
std::string_view dataFor(const store::Event& event, const store::User& user);

/** The event as a server-sent event: id, name and one line of data. */
std::string asServerSentEvent(const store::Event& event, std::string_view data);

/** The last word of a stream; it has no id, because it is nobody's to resume from. */
std::string sessionEndedEvent(std::string_view reason);

} // namespace kelvo::events
