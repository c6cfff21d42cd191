// rm and bin: removing and restoring files.
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"
#include "service/kelvoctl/Pages.h"

#include <iostream>
#include <limits>

namespace kelvoctl {
namespace {

using nlohmann::json;

void listBin(CommandContext& context)
{
    printItems(context, "/bin", "files", [](const json& file) {
        std::cout << file.at("id") << "  " << file.at("size") << "  removed "
                  << printable(file.at("deleted_at").get<std::string>()) << " by "
                  << printable(file.at("deleted_by").get<std::string>()) << "  "
                  << printable(file.at("name").get<std::string>()) << "\n";
    });
}

void purge(CommandContext& context, int id, bool all, int farm)
{
    if (all == (id != 0)) {
        throw UsageError("Give the id of a file, or --all.");
    }
    const std::string query = farm == 0 ? "" : "?farm=" + std::to_string(farm);
    context.client().call("DELETE", "/bin" + (all ? "" : "/" + std::to_string(id)) + query);
}

void restore(CommandContext& context, int id)
{
    const json file = context.client().call("POST", "/bin/" + std::to_string(id) + "/restore");
    context.print(file, "Restored " + printable(file.at("name").get<std::string>()) + ".");
}

void addId(CLI::App& command, const std::shared_ptr<int>& id, const char* meaning)
{
    command.add_option("ID", *id, meaning)
        ->required()
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
}

void addPurge(CLI::App& bin, CommandContext& context)
{
    struct Options
    {
        int id = 0;
        int farm = 0;
        bool all = false;
    };
    const auto options = std::make_shared<Options>();
    const CLI::Range ids(1, std::numeric_limits<int>::max());
    CLI::App* command =
        bin.add_subcommand("purge", "Delete files of the bin for good")->fallthrough();
    command->add_option("ID", options->id, "Id of the file, as printed by bin list")->check(ids);
    command->add_flag("--all", options->all, "Delete all files of the bin");
    command->add_option("--farm", options->farm, "Id of the farm (administrator)")->check(ids);
    command->callback([&context, options] {
        context.action = [&context, options] {
            purge(context, options->id, options->all, options->farm);
        };
    });
}

} // namespace

void addBinCommands(CLI::App& line, CommandContext& context)
{
    const auto id = std::make_shared<int>(0);
    CLI::App* rm = line.add_subcommand("rm", "Move a file to the farm's bin")->fallthrough();
    addId(*rm, id, "Id of the file, as printed by ls");
    rm->callback([&context, id] {
        context.action = [&context, id] {
            context.client().call("DELETE", "/resources/" + std::to_string(*id));
        };
    });
    CLI::App* bin = line.add_subcommand("bin", "The farm's bin (office)")->fallthrough();
    bin->require_subcommand(1);
    CLI::App* list =
        bin->add_subcommand("list", "List the files that can be restored")->fallthrough();
    list->callback([&context] { context.action = [&context] { listBin(context); }; });
    CLI::App* back = bin->add_subcommand("restore", "Restore a file")->fallthrough();
    addId(*back, id, "Id of the file, as printed by bin list");
    back->callback([&context, id] { context.action = [&context, id] { restore(context, *id); }; });
    addPurge(*bin, context);
}

} // namespace kelvoctl
