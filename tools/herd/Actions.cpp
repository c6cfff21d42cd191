#include "tools/herd/Actions.h"

#include "tools/herd/Transfers.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace herd {

namespace {

using nlohmann::json;

constexpr int reportAttempts = 2; // the next report is newer
constexpr int listAttempts = 3;

std::string hardwareAddress(const Console& console)
{
    const std::uint32_t number = console.place().number;
    char text[sizeof "02:00:00:00:00:00"];
    std::snprintf(text, sizeof text, "02:00:%02x:%02x:%02x:%02x", (number >> 24) & 255,
                  (number >> 16) & 255, (number >> 8) & 255, number & 255);
    return text;
}

std::int64_t wallMs()
{
    return std::chrono::duration_cast<milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/** The members that the plug-in sends for a console and for its receiver. */
json device(const Console& console, const char* kind)
{
    return {{"hardware_address", hardwareAddress(console)},
            {"console_string", console.user()},
            {"text2", ""},
            {"text4", ""},
            {"kind", kind},
            {"text6", ""},
            {"text7", ""},
            {"number8", 0}};
}

Async<void> send(Console& console, EKind kind, const char* method, const char* path, json body,
                 Clock::time_point begin)
{
    Request request = requestTo(method, apiPath + path);
    request.json = body.dump();
    co_await console.requests().call(kind, request, begin, reportAttempts);
}

/** A place within a kilometre of the console's own field. */
Async<void> sendPosition(Console& console, std::uint64_t dice)
{
    const std::uint32_t number = console.place().number;
    const double field = 0.02;
    json position = {
        {"time_s", wallMs() / 1000},
        {"latitude", 45 + field * (number / 500 % 500) + field / 2 * Random::toFraction(dice)},
        {"longitude",
         5 + field * (number % 500) + field / 2 * Random::toFraction(Random::mix(dice))},
        {"hardware_address", hardwareAddress(console)}};
    co_await send(console, EKind::Position, "POST", "/positions", std::move(position),
                  console.due());
}

Async<void> sendEquipment(Console& console, std::uint64_t dice)
{
    json report = {{"timestamp_ms", wallMs()},
                   {"state", static_cast<int>(dice % 2)},
                   {"flag", true},
                   {"device", device(console, "Receiver")}};
    co_await send(console, EKind::Equipment, "PUT", "/devices", std::move(report), console.due());
}

Async<void> listInbox(Console& console, std::uint64_t)
{
    if (!console.targets().empty()) {
        const std::string inbox = std::to_string(console.targets().front());
        co_await console.requests().call(EKind::List,
                                         requestTo("GET", apiPath + "/resources/" + inbox),
                                         console.due(), listAttempts);
    }
}

Async<void> uploadFile(Console& console, std::uint64_t dice)
{
    return upload(console, EKind::Upload, dice);
}

Async<void> sendFile(Console& console, std::uint64_t dice)
{
    return upload(console, EKind::Send, dice);
}

/** Lost links have a schedule of their own, because they come in the middle of other actions. */
Async<void> nothing(Console&, std::uint64_t)
{
    co_return;
}

/** In the order of EAction. */
constexpr Async<void> (*actions[actionCount])(Console&, std::uint64_t) = {
    sendPosition, sendEquipment, listInbox, uploadFile, download, sendFile, nothing};

} // namespace

Async<void> perform(Console& console, const PlannedAction& planned)
{
    return actions[static_cast<std::size_t>(planned.action)](console, planned.dice);
}

Async<void> reportEnvironment(Console& console)
{
    json environment = {{"timestamp_ms", wallMs()},
                        {"console", device(console, "Console")},
                        {"controller", device(console, "Controller")}};
    environment["console"]["host_string"] = "kelvo-herd";
    co_await send(console, EKind::Equipment, "PUT", "/environment", std::move(environment),
                  Clock::now());
}

} // namespace herd
