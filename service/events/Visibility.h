// Visibility rules: the users that may see an event.
#pragma once

#include "service/store/Records.h"

#include <string>
#include <string_view>

namespace kelvo::events {

/** The event's data as the user may see it; empty if the user may not see the event. */
std::string_view dataFor(const store::Event& event, const store::User& user);

/** The event as a server-sent event: id, name and one line of data. */
std::string asServerSentEvent(const store::Event& event, std::string_view data);

/** The last event of a stream. It has no id, because no stream resumes after it. */
std::string sessionEndedEvent(std::string_view reason);

} // namespace kelvo::events
