// The structured log: one JSON object per line on stderr, with harmless fields only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvo {

/** One answered request. It has no other fields, so no secret can get into the log. */
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
 * `level`: debug, info, warning or error. Thread safe after the call. The log never blocks the
 * service: a line that stderr does not take at once is dropped, and a long line is cut
 * (`"cut":true`).
 */
void startLog(std::string_view level);

void logRequest(const RequestLogEntry& entry);

/** A login or a change. Ids are 0 and texts empty where there is nothing to tell. */
struct AuditLogEntry
{
    std::string_view action;
    std::string_view outcome;
    std::string_view address;
    long long actor = 0;
    std::string_view actorName;
    long long farm = 0;
    std::string_view objectKind;
    long long object = 0;
    std::string_view objectName; // of a user only
};

/** Written at every level. The order of the first members is fixed: log filters depend on it. */
void logAudit(const AuditLogEntry& entry);

/** An event of the service itself. `detail` must not hold names, paths or secrets. */
void logInfo(std::string_view event, std::string_view detail = {});
void logWarning(std::string_view event, std::string_view detail = {});
void logError(std::string_view event, std::string_view detail = {});

} // namespace kelvo
