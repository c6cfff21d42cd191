// The structured log: one JSON object a line on stderr, made of fields that are known to be
// harmless.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvo {

/** One answered request. Only these fields exist, so that no secret can slip into the log. */
struct RequestLogEntry
{
    std::string_view method;
    std::string_view route; // the template, never the path itself
    unsigned status = 0;
    std::uint64_t receivedBytes = 0; // of the body
    std::uint64_t sentBytes = 0;
    std::int64_t durationMs = 0;
    long long farm = 0; // 0: none
    long long user = 0; // 0: none
};

/**
 * `level`: debug, info, warning or error. Thread safe once called.
 * A line that stderr does not take at once is dropped, and a long one is cut (`"cut":true`): the
 * log never holds up the service.
 */
void startLog(std::string_view level);

void logRequest(const RequestLogEntry& entry);

/** Something that happened to the service itself. `detail` must not hold names, paths or secrets.
 */
void logInfo(std::string_view event, std::string_view detail = {});
void logWarning(std::string_view event, std::string_view detail = {});
void logError(std::string_view event, std::string_view detail = {});

} // namespace kelvo
