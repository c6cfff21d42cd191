// rm and bin: removing and restoring files.
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/FileText.h"
#include "service/kelvoctl/Names.h"
#include "service/kelvoctl/Pages.h"

#include <iostream>
#include <limits>

namespace kelvoctl {
namespace {

using nlohmann::json;

/** The query that names the farm. Empty for farm 0: the bin is of the caller's farm. */
std::string farmQuery(int farm)
{
    return farm == 0 ? "" : "?farm=" + std::to_string(farm);
}

void listBin(CommandContext& context, int farm)
{
    printItems(context, "/bin" + farmQuery(farm), "files", [](const json& file) {
        std::cout << file.at("id") << "  " << file.at("size") << "  removed "
                  << printable(file.at("deleted_at").get<std::string>()) << " by "
                  << printable(file.at("deleted_by").get<std::string>()) << "  "
                  << printable(file.at("name").get<std::string>()) << senderText(file) << "\n";
    });
}

void purge(CommandContext& context, int id, bool all, int farm)
{
    if (all == (id != 0)) {
        throw UsageError("Give the id of a file, or --all.");
    }
    context.client().call("DELETE",
                          "/bin" + (all ? "" : "/" + std::to_string(id)) + farmQuery(farm));
}

void restore(CommandContext& context, int id)
{
    const json file = context.client().call("POST", "/bin/" + std::to_string(id) + "/restore");
    context.print(file, "Restored " + printable(file.at("name").get<std::string>()) + ".");
}

CLI::Range ids()
{
    return CLI::Range(1, std::numeric_limits<int>::max());
}

void addId(CLI::App& command, const std::shared_ptr<int>& id, const char* meaning)
{
    command.add_option("ID", *id, meaning)->required()->check(ids());
}

void addFarm(CLI::App& command, int& farm)
{
    command.add_option("--farm", farm, "Id of the farm (administrator)")->check(ids());
}

void addList(CLI::App& bin, CommandContext& context)
{
    const auto farm = std::make_shared<int>(0);
    CLI::App* list =
        bin.add_subcommand("list", "List the files that can be restored")->fallthrough();
    addFarm(*list, *farm);
    list->callback(
        [&context, farm] { context.action = [&context, farm] { listBin(context, *farm); }; });
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
    CLI::App* command =
        bin.add_subcommand("purge", "Delete files of the bin for good")->fallthrough();
    command->add_option("ID", options->id, "Id of the file, as printed by bin list")->check(ids());
    command->add_flag("--all", options->all, "Delete all files of the bin");
    addFarm(*command, options->farm);
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
    addList(*bin, context);
    CLI::App* back = bin->add_subcommand("restore", "Restore a file")->fallthrough();
    addId(*back, id, "Id of the file, as printed by bin list");
    back->callback([&context, id] { context.action = [&context, id] { restore(context, *id); }; });
    addPurge(*bin, context);
}

} // namespace kelvoctl
