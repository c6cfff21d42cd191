// Receives a request's body while earlier bytes are written.
#pragma once

#include "service/base/WorkPool.h"
#include "service/http/BodyReader.h"

#include <chrono>
#include <cstddef>
#include <functional>

namespace kelvo::api {

/** Takes the next bytes; called on the pool. */
using Sink = std::function<void(const void* data, std::size_t sizeBytes)>;

/** When no byte has arrived for `after`, the pool runs `work` once, until more bytes arrive. */
struct Pause
{
    std::function<void()> work; // empty: none
    std::chrono::milliseconds after{1000};
};

/**
 * Receives while the pool passes earlier bytes to `sink`. The pool passes all received bytes at
 * once, however few: a killed service loses only bytes that the pool has not taken yet. Holds at
 * most 512 KiB. Returns true if the whole body was received, false if the peer left or stalled; the
 * received bytes are written in both cases. Throws the exceptions of `sink` and `pause`.
 */
Async<bool> receiveBody(http::BodyReader& body, const Sink& sink, WorkPool& pool,
                        const Pause& pause);

} // namespace kelvo::api
