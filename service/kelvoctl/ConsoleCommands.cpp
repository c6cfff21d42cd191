// consoles and track: the farm's consoles and their tracks.
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"
#include "service/kelvoctl/Pages.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <limits>

namespace kelvoctl {
namespace {

using nlohmann::json;

constexpr int kPage = 200;

struct TrackOptions
{
    std::string console;
    std::string from;
    std::string to;
    int count = std::numeric_limits<int>::max();
};

std::string text(const json& object, const char* member)
{
    return printable(object.value(member, ""));
}

std::string place(const json& position)
{
    char coordinates[64] = {};
    std::snprintf(coordinates, sizeof coordinates, "%.7f %.7f",
                  position.at("latitude").get<double>(), position.at("longitude").get<double>());
    return text(position, "received_at") + "  " + coordinates;
}

void printConsole(const json& console)
{
    const std::string name = text(console, "console_string");
    const std::string address = text(console, "hardware_address");
    std::cout << console.at("id") << "  " << (name.empty() ? "-" : name) << "  "
              << (address.empty() ? "-" : address) << "  " << text(console.at("operator"), "name")
              << "  " << (console.at("position").is_null() ? "-" : place(console.at("position")))
              << "\n";
    for (const json& report : console.at("devices")) {
        const json& device = report.at("device");
        const std::string kind = text(device, "kind");
        const std::string itsAddress = text(device, "hardware_address");
        std::cout << "  " << (kind.empty() ? "-" : kind) << "  "
                  << (itsAddress.empty() ? "-" : itsAddress) << "  "
                  << (report.at("state") == 1 ? "connected " : "disconnected ")
                  << text(report, "received_at") << "\n";
    }
}

void listConsoles(CommandContext& context)
{
    printItems(context, "/consoles", "consoles", printConsole);
}

// Returns an id unchanged. Otherwise finds the one console with this name or address.
std::string consoleId(CommandContext& context, const std::string& wanted)
{
    if (wanted.find_first_not_of("0123456789") == std::string::npos) {
        return wanted;
    }
    std::string id;
    const auto take = [&id, &wanted](const json& console) {
        if (console.at("console_string") != wanted && console.at("hardware_address") != wanted) {
            return; // an older service does not filter
        }
        if (!id.empty()) {
            throw Refused(0, "Ambiguous",
                          "Several consoles have the name " + printable(wanted) + ".");
        }
        id = console.at("id").dump();
    };
    eachItem(context.client(), "/consoles?name=" + percentEncoded(wanted), "consoles", take);
    if (id.empty()) {
        throw Refused(0, "Not found", "No console has the name " + printable(wanted) + ".");
    }
    return id;
}

void printPoint(CommandContext& context, const json& position)
{
    if (context.json) {
        std::cout << oneLine(position) << "\n";
    } else {
        std::cout << place(position) << "  " << text(position.at("operator"), "name") << "\n";
    }
}

void track(CommandContext& context, const TrackOptions& options)
{
    const std::string path = "/consoles/" + consoleId(context, options.console) +
                             "/track?limit=" + std::to_string(std::min(options.count, kPage)) +
                             timeParameter("from", options.from) + timeParameter("to", options.to);
    json next;
    int left = options.count;
    do {
        const json page = context.client().call(
            "GET", next.is_null() ? path : path + "&cursor=" + next.get<std::string>());
        for (const json& position : page.at("positions")) {
            if (left-- > 0) {
                printPoint(context, position);
            }
        }
        next = page.at("next");
    } while (left > 0 && !next.is_null());
    std::cout << std::flush;
}

} // namespace

void addConsoleCommands(CLI::App& line, CommandContext& context)
{
    const auto options = std::make_shared<TrackOptions>();
    CLI::App* list =
        line.add_subcommand("consoles", "List the farm's consoles (office)")->fallthrough();
    list->callback([&context, list] {
        if (list->get_subcommands().empty()) {
            context.action = [&context] { listConsoles(context); };
        }
    });
    CLI::App* removal =
        list->add_subcommand("delete", "Delete a console with its track")->fallthrough();
    removal->add_option("CONSOLE", options->console, "Id, name or hardware address")->required();
    removal->callback([&context, options] {
        context.action = [&context, options] {
            context.client().call("DELETE", "/consoles/" + consoleId(context, options->console));
        };
    });

    CLI::App* way =
        line.add_subcommand("track", "Track of a console, newest position first (office)")
            ->fallthrough();
    way->add_option("CONSOLE", options->console, "Id, name or hardware address")->required();
    way->add_option("--from", options->from,
                    "Not before this time: 2026-05-01T06:00:00Z or 2026-05-01")
        ->type_name("TIME");
    way->add_option("--to", options->to, "Before this time")->type_name("TIME");
    way->add_option("--count", options->count, "Print only the newest N")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()))
        ->type_name("N");
    way->callback([&context, options] {
        context.action = [&context, options] { track(context, *options); };
    });
}

} // namespace kelvoctl
