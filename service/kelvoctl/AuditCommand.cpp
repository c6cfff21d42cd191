// audit: who changed what.
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Names.h"

#include <algorithm>
#include <iostream>
#include <limits>

namespace kelvoctl {
namespace {

using nlohmann::json;

struct AuditOptions
{
    std::string action;
    std::string from;
    std::string to;
    int user = 0;
    int farm = 0;
    int count = 100;
};

constexpr int kAuditPage = 1000;

std::string named(const json& item)
{
    const auto name = item.at("name").get<std::string>();
    return item.at("id").dump() + (name.empty() ? "" : " (" + name + ")");
}

void printEntry(CommandContext& context, const json& entry)
{
    if (context.json) {
        std::cout << oneLine(entry) << "\n";
        return;
    }
    const json& actor = entry.at("actor");
    const json& object = entry.at("object");
    std::string text = entry.at("at").get<std::string>() + "  " +
                       entry.at("action").get<std::string>() + " " +
                       entry.at("outcome").get<std::string>();
    text += actor.is_null() ? "" : "  by user " + named(actor);
    text += object.is_null() ? ""
                             : "  on " + object.at("kind").get<std::string>() + " " + named(object);
    std::cout << printable(text + "  from " + entry.at("address").get<std::string>()) << "\n";
}

void audit(CommandContext& context, const AuditOptions& options)
{
    const auto idParameter = [](const char* name, int id) {
        return id == 0 ? "" : std::string("&") + name + "=" + std::to_string(id);
    };
    const std::string path =
        "/audit?limit=" + std::to_string(std::min(options.count, kAuditPage)) +
        (options.action.empty() ? "" : "&action=" + percentEncoded(options.action)) +
        idParameter("user", options.user) + idParameter("farm", options.farm) +
        timeParameter("from", options.from) + timeParameter("to", options.to);
    std::string after;
    for (int left = options.count; left > 0;) {
        const json entries = context.client().call("GET", path + after).at("entries");
        for (const json& entry : entries) {
            if (left-- > 0) {
                printEntry(context, entry);
            }
        }
        if (entries.size() < static_cast<std::size_t>(std::min(options.count, kAuditPage))) {
            break;
        }
        after = "&after=" + entries.back().at("id").get<std::string>();
    }
    std::cout << std::flush;
}

} // namespace

void addAuditCommand(CLI::App& line, CommandContext& context)
{
    const auto options = std::make_shared<AuditOptions>();
    CLI::App* command =
        line.add_subcommand("audit", "Logins and changes, newest first (office, administrator)")
            ->fallthrough();
    command->add_option("--action", options->action, "Only this action, such as login")
        ->type_name("ACTION");
    command->add_option("--user", options->user, "Only the actions of this user")->type_name("ID");
    command->add_option("--farm", options->farm, "Only this farm (administrator)")->type_name("ID");
    command
        ->add_option("--from", options->from,
                     "Not before this time: 2026-05-01T06:00:00Z or 2026-05-01")
        ->type_name("TIME");
    command->add_option("--to", options->to, "Before this time")->type_name("TIME");
    command->add_option("--count", options->count, "Print only the newest N")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()))
        ->capture_default_str()
        ->type_name("N");
    command->callback([&context, options] {
        context.action = [&context, options] { audit(context, *options); };
    });
}

} // namespace kelvoctl
