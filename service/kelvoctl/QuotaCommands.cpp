// quota, farm usage and farm quota: what farms store, and the limits of a farm.
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"
#include "service/kelvoctl/Users.h"

#include <iostream>
#include <map>

namespace kelvoctl {
namespace {

using nlohmann::json;

void printUsage(const std::string& whose, const json& usage, const json& quota)
{
    std::cout << whose << ":";
    for (const char* name : {"bytes", "files", "uploads", "sessions", "users"}) {
        if (!usage.contains(name)) {
            continue;
        }
        // The quota counts the uploads in progress.
        const std::string ofUploads = std::string("upload_") + name;
        std::cout << "  " << usage.at(name).get<long long>() + usage.value(ofUploads, 0LL)
                  << (quota.contains(name) ? " of " + quota.at(name).dump() : "") << " " << name;
    }
    if (quota.contains("positions")) {
        std::cout << "  at most " << quota.at("positions") << " positions a minute";
    }
    std::cout << "\n";
}

void printFarm(CommandContext& context, const std::string& path)
{
    const json report = context.client().call("GET", path + "/usage");
    if (context.json) {
        std::cout << oneLine(report) << std::endl;
        return;
    }
    printUsage(printable(report.at("farm").at("name").get<std::string>()), report.at("usage"),
               report.at("quota").at("farm"));
    for (const json& user : report.at("users")) {
        printUsage("  " + printable(user.at("name").get<std::string>()), user.at("usage"),
                   report.at("quota").at("user"));
    }
}

void printOwnFarm(CommandContext& context)
{
    const json account = context.client().call("GET", "/account");
    const json& farm = account.at("user").at("farm");
    if (farm.is_null()) {
        throw UsageError("An administrator has no farm: use `kelvoctl farm quota NAME`.");
    }
    printFarm(context, "/farms/" + farm.at("id").dump());
}

/** The limits that the options name. `default` removes a limit of the farm. */
json limitsOf(const std::map<std::string, std::string>& values)
{
    json limits = json::object();
    for (const auto& [name, value] : values) {
        if (!value.empty()) {
            limits[name] = value == "default" ? json() : json(std::stoll(value));
        }
    }
    return limits;
}

struct QuotaOptions
{
    std::string farm;
    std::map<std::string, std::string> ofFarm;
    std::map<std::string, std::string> ofUser;
};

void showOrSetQuota(CommandContext& context, const QuotaOptions& options)
{
    const std::string path = farmPath(context, options.farm);
    const json change{{"farm", limitsOf(options.ofFarm)}, {"user", limitsOf(options.ofUser)}};
    if (!change.at("farm").empty() || !change.at("user").empty()) {
        context.client().call("PATCH", path + "/quota", change);
    }
    printFarm(context, path);
}

void listUsage(CommandContext& context, int most)
{
    const json farms =
        context.client().call("GET", "/usage?limit=" + std::to_string(most)).at("farms");
    if (context.json) {
        std::cout << oneLine(farms) << std::endl;
        return;
    }
    for (const json& usage : farms) {
        std::cout << printable(usage.at("farm").at("name").get<std::string>()) << ":  "
                  << usage.at("bytes") << " of " << usage.at("byte_limit") << " bytes  "
                  << usage.at("files") << " of " << usage.at("file_limit") << " files\n";
    }
}

void addUsageCommand(CLI::App& farm, CommandContext& context)
{
    const auto most = std::make_shared<int>(20);
    CLI::App* usage = farm.add_subcommand("usage", "List the farms that store most")->fallthrough();
    usage->add_option("--limit", *most, "Largest number of farms")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    usage->callback(
        [&context, most] { context.action = [&context, most] { listUsage(context, *most); }; });
}

} // namespace

void addQuotaCommands(CLI::App& line, CommandContext& context)
{
    CLI::App* own = line.add_subcommand("quota", "Print your farm's usage and quotas (office)");
    own->fallthrough()->callback(
        [&context] { context.action = [&context] { printOwnFarm(context); }; });
    addUsageCommand(*line.get_subcommand("farm"), context);
    const auto options = std::make_shared<QuotaOptions>();
    CLI::App* quota = line.get_subcommand("farm")
                          ->add_subcommand("quota", "Print a farm's usage, or change its quotas")
                          ->fallthrough();
    quota->add_option("NAME", options->farm, "Name of the farm")->required();
    const CLI::Validator limit(
        [](std::string& text) {
            const bool isNumber = text.size() <= 15 && !text.empty() &&
                                  text.find_first_not_of("0123456789") == std::string::npos;
            return isNumber || text == "default" ? "" : "give a number or 'default'";
        },
        "NUMBER|default", "limit");
    for (const char* name : {"bytes", "files", "uploads", "positions", "users"}) {
        quota->add_option(std::string("--") + name, options->ofFarm[name], "Limit of the farm")
            ->check(limit);
    }
    for (const char* name : {"bytes", "files", "uploads", "sessions", "positions"}) {
        quota
            ->add_option(std::string("--user-") + name, options->ofUser[name],
                         "Limit of each user of the farm")
            ->check(limit);
    }
    quota->callback([&context, options] {
        context.action = [&context, options] { showOrSetQuota(context, *options); };
    });
}

} // namespace kelvoctl
