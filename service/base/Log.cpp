// The structured log over spdlog.
#include "service/base/Log.h"

#include "service/base/Clock.h"
#include "service/base/Time.h"

#include <nlohmann/json.hpp>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <mutex>

#include <poll.h>
#include <unistd.h>

namespace kelvo {

namespace {

/** With its newline a line is shorter than 4096 bytes: a pipe takes it at once. */
constexpr std::size_t longestLineBytes = 4000;

/**
 * Drops a line that stderr does not take at once, so a reader that stalls cannot stall the service.
 */
class StderrSink final : public spdlog::sinks::base_sink<std::mutex>
{
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        std::string line(message.payload.data(), message.payload.size());
        line += '\n';
        // A pipe that polls writable takes up to 4096 bytes at once; textOf() keeps lines below
        // that.
        pollfd stderrState{STDERR_FILENO, POLLOUT, 0};
        if (::poll(&stderrState, 1, 0) == 1 && (stderrState.revents & POLLOUT) != 0) {
            [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
        }
    }

    void flush_() override {}
};

std::string dump(const nlohmann::ordered_json& line)
{
    return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/**
 * Returns the line as text. Shortens the longest text until the line fits; it stays a JSON object.
 */
std::string textOf(nlohmann::ordered_json line)
{
    std::string text = dump(line);
    while (text.size() > longestLineBytes) {
        line["cut"] = true;
        std::string* longest = nullptr;
        for (auto& value : line) {
            auto* const candidate = value.get_ptr<std::string*>();
            if (candidate != nullptr && (!longest || candidate->size() > longest->size())) {
                longest = candidate;
            }
        }
        if (longest == nullptr || longest->empty()) {
            break; // numbers alone are shorter
        }
        longest->resize(longest->size() / 2);
        text = dump(line);
    }
    return text;
}

/** `shown` is the level in the line; `level` decides whether the line is written. */
void write(spdlog::level::level_enum level, spdlog::level::level_enum shown,
           const nlohmann::ordered_json& fields)
{
    if (!spdlog::should_log(level)) {
        return;
    }
    nlohmann::ordered_json line;
    line["time"] = rfc3339(SystemClock().nowMs());
    line["level"] = spdlog::level::to_string_view(shown).data();
    line.update(fields);
    const std::string text = textOf(std::move(line));
    spdlog::default_logger_raw()->log(level, spdlog::string_view_t(text.data(), text.size()));
}

void write(spdlog::level::level_enum level, const nlohmann::ordered_json& fields)
{
    write(level, level, fields);
}

void writeEvent(spdlog::level::level_enum level, std::string_view event, std::string_view detail)
{
    nlohmann::ordered_json fields{{"event", event}};
    if (!detail.empty()) {
        fields["detail"] = detail;
    }
    write(level, fields);
}

} // namespace

void startLog(std::string_view level)
{
    auto logger = std::make_shared<spdlog::logger>("kelvo", std::make_shared<StderrSink>());
    logger->set_level(spdlog::level::from_str(std::string(level)));
    spdlog::set_default_logger(std::move(logger));
}

void logRequest(const RequestLogEntry& entry)
{
    if (!spdlog::should_log(spdlog::level::info)) {
        return;
    }
    nlohmann::ordered_json fields{{"event", "request"},        {"method", entry.method},
                                  {"route", entry.route},      {"status", entry.status},
                                  {"in", entry.receivedBytes}, {"out", entry.sentBytes},
                                  {"ms", entry.durationMs}};
    if (entry.farm != 0) {
        fields["farm"] = entry.farm;
    }
    if (entry.user != 0) {
        fields["user"] = entry.user;
    }
    write(spdlog::level::info, fields);
}

void logAudit(const AuditLogEntry& entry)
{
    nlohmann::ordered_json fields{{"event", "audit"},
                                  {"action", entry.action},
                                  {"outcome", entry.outcome},
                                  {"address", entry.address}};
    if (entry.actor != 0) {
        fields["actor"] = entry.actor;
        fields["actor_name"] = entry.actorName;
    }
    if (entry.farm != 0) {
        fields["farm"] = entry.farm;
    }
    if (!entry.objectKind.empty()) {
        fields["object_kind"] = entry.objectKind;
        fields["object"] = entry.object;
    }
    if (!entry.objectName.empty()) {
        fields["object_name"] = entry.objectName;
    }
    write(spdlog::level::critical, spdlog::level::info, fields);
}

void logInfo(std::string_view event, std::string_view detail)
{
    writeEvent(spdlog::level::info, event, detail);
}

void logWarning(std::string_view event, std::string_view detail)
{
    writeEvent(spdlog::level::warn, event, detail);
}

void logError(std::string_view event, std::string_view detail)
{
    writeEvent(spdlog::level::err, event, detail);
}

} // namespace kelvo
