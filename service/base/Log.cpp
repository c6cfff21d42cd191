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

/** Together with its end less than a pipe takes at once. */
constexpr std::size_t longestLineBytes = 4000;

/** Writes to stderr what it takes without waiting, so that a reader that stalls cannot stall us. */
class StderrSink final : public spdlog::sinks::base_sink<std::mutex>
{
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        std::string line(message.payload.data(), message.payload.size());
        line += '\n';
        // A pipe that polls writable takes up to 4096 bytes at once; textOf() sees to that.
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

/** One line, still an object when it has to be cut: its longest text is, until it fits. */
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
            break; // numbers alone are not that long
        }
        longest->resize(longest->size() / 2);
        text = dump(line);
    }
    return text;
}

void write(spdlog::level::level_enum level, nlohmann::ordered_json fields)
{
    if (!spdlog::should_log(level)) {
        return;
    }
    nlohmann::ordered_json line;
    line["time"] = rfc3339(SystemClock().nowMs());
    line["level"] = spdlog::level::to_string_view(level).data();
    line.update(fields);
    const std::string text = textOf(std::move(line));
    spdlog::default_logger_raw()->log(level, spdlog::string_view_t(text.data(), text.size()));
}

void writeEvent(spdlog::level::level_enum level, std::string_view event, std::string_view detail)
{
    nlohmann::ordered_json fields{{"event", event}};
    if (!detail.empty()) {
        fields["detail"] = detail;
    }
    write(level, std::move(fields));
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
    write(spdlog::level::info, std::move(fields));
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
