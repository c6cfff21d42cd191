// ls: the inboxes and files that the caller may see.
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/FileText.h"
#include "service/kelvoctl/Names.h"

#include <algorithm>
#include <iostream>
#include <iterator>

namespace kelvoctl {
namespace {

using nlohmann::json;

struct ListOptions
{
    std::string project;
    std::string owner;
    bool notFetched = false;
};

void printInbox(const json& project, const json& inbox)
{
    std::cout << project.at("name").get<std::string>() << " / "
              << printable(inbox.at("owner").at("name").get<std::string>()) << "  (inbox "
              << inbox.at("id") << (inbox.contains("entries") ? ")" : ", not readable)") << "\n";
    for (const json& file : inbox.value("entries", json::array())) {
        std::cout << "  " << file.at("id") << "  " << file.at("size") << "  "
                  << printable(file.at("created_at").get<std::string>()) << "  "
                  << printable(file.at("name").get<std::string>()) << senderText(file);
        if (file.contains("fetched_at")) {
            std::cout << "  " << printable(fetchText(file));
        }
        std::cout << "\n";
    }
}

json withoutFetched(json inbox)
{
    if (const auto entries = inbox.find("entries"); entries != inbox.end()) {
        json rest = json::array();
        std::copy_if(entries->begin(), entries->end(), std::back_inserter(rest),
                     [](const json& file) { return !file.contains("fetched_at"); });
        *entries = std::move(rest);
    }
    return inbox;
}

// The projects with only the requested inboxes.
json filtered(const json& projects, const ListOptions& options)
{
    json result = json::array();
    for (json project : projects) {
        if (!options.project.empty() && project.at("name") != options.project) {
            continue;
        }
        json inboxes = json::array();
        for (const json& inbox : project.at("resources")) {
            if (options.owner.empty() || inbox.at("owner").at("name") == options.owner) {
                inboxes.push_back(options.notFetched ? withoutFetched(inbox) : inbox);
            }
        }
        project["resources"] = inboxes;
        result.push_back(project);
    }
    if (result.empty() && !options.project.empty()) {
        throw Refused(0, "Not found",
                      "No project has the name " + printable(options.project) + ".");
    }
    return result;
}

void list(CommandContext& context, const ListOptions& options)
{
    const json projects =
        filtered(context.client().call("GET", "/account").at("projects"), options);
    if (context.json) {
        std::cout << oneLine(projects) << std::endl;
        return;
    }
    for (const json& project : projects) {
        for (const json& inbox : project.at("resources")) {
            printInbox(project, inbox);
        }
    }
}

} // namespace

void addListCommand(CLI::App& line, CommandContext& context)
{
    const auto options = std::make_shared<ListOptions>();
    CLI::App* ls = line.add_subcommand("ls", "List inboxes and their files")->fallthrough();
    ls->add_option("PROJECT", options->project, "Only this project, such as \"To Console\"");
    ls->add_option("--owner", options->owner, "Only this user's inboxes")->type_name("NAME");
    ls->add_flag("--not-fetched", options->notFetched,
                 "Only files that no console has fetched (for the office)");
    ls->callback(
        [&context, options] { context.action = [&context, options] { list(context, *options); }; });
}

} // namespace kelvoctl
