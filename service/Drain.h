// Moves the clients to other instances before a stop.
#pragma once

#include "service/StopSignals.h"
#include "service/events/EventBroker.h"
#include "service/http/Listener.h"

#include <chrono>

namespace kelvo {

/**
 * The service still answers for `time`, or until another signal stops it. Each connection ends
 * after its next answer. In the first quarter, a proxy notices that the service is not ready. Then
 * the event streams end one after the other. Blocks; call it on the main thread.
 */
void drain(std::chrono::milliseconds time, const StopSignals& signals, http::Listener& listener,
           events::EventBroker& broker);

} // namespace kelvo
