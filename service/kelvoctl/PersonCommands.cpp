// passwd, session, mv, and the commands that rename, delete and export users and farms.
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"
#include "service/kelvoctl/Pages.h"
#include "service/kelvoctl/PasswordPrompt.h"
#include "service/kelvoctl/Users.h"

#include <iostream>
#include <limits>

namespace kelvoctl {
namespace {

using nlohmann::json;

struct PersonOptions
{
    std::string name;
    std::string newName;
    std::string other; // heir, role, session or confirmed name
    std::string passwordFile;
    std::string newPasswordFile;
    int id = 0;
};

using Options = std::shared_ptr<PersonOptions>;
using Action = void (*)(CommandContext&, const PersonOptions&);

CLI::App& addCommand(CLI::App& line, CommandContext& context, const Options& options,
                     const char* name, const char* help, Action action)
{
    CLI::App* command = line.add_subcommand(name, help)->fallthrough();
    command->callback([&context, options, action] {
        context.action = [&context, options, action] { action(context, *options); };
    });
    return *command;
}

void changeOwnPassword(CommandContext& context, const PersonOptions& options)
{
    const std::string current =
        readPassword(options.passwordFile, "KELVOCTL_PASSWORD", "Current password: ");
    const std::string wanted =
        readPassword(options.newPasswordFile, "KELVOCTL_NEW_PASSWORD", "New password: ");
    context.client().call("POST", "/account/password", json{{"current", current}, {"new", wanted}});
}

void listSessions(CommandContext& context, const PersonOptions& options)
{
    const std::string path =
        options.name.empty() ? "/sessions" : userPath(context, options.name) + "/export";
    const json sessions = context.client().call("GET", path).at("sessions");
    if (context.json) {
        std::cout << oneLine(sessions) << std::endl;
        return;
    }
    for (const json& session : sessions) {
        const auto text = [&session](const char* member) {
            return session.at(member).get<std::string>();
        };
        std::cout << printable(text("id") + "  last seen " + text("last_seen_at") + "  from " +
                               text("address") + "  " + text("console") +
                               (session.at("current").get<bool>() ? "  (this session)" : ""))
                  << "\n";
    }
}

void endSession(CommandContext& context, const PersonOptions& options)
{
    const std::string user = options.name.empty() ? "" : userPath(context, options.name);
    context.client().call("DELETE", user + "/sessions/" + percentEncoded(options.other));
}

void renameFile(CommandContext& context, const PersonOptions& options)
{
    const json file = context.client().call("PATCH", "/resources/" + std::to_string(options.id),
                                            json{{"name", options.newName}});
    context.print(file, "Renamed to " + printable(file.at("name").get<std::string>()) + ".");
}

void renameUser(CommandContext& context, const PersonOptions& options)
{
    const json user = context.client().call("PATCH", userPath(context, options.name),
                                            json{{"name", options.newName}});
    context.print(user, "Renamed to " + printable(user.at("name").get<std::string>()) + ".");
}

void setRole(CommandContext& context, const PersonOptions& options)
{
    const json user = context.client().call("PATCH", userPath(context, options.name),
                                            json{{"role", options.other}});
    context.print(user, "The role is " + user.at("role").get<std::string>() + ".");
}

void deleteUser(CommandContext& context, const PersonOptions& options)
{
    std::string query;
    if (!options.other.empty()) {
        const std::string heir = userPath(context, options.other);
        query = "?heir=" + heir.substr(heir.rfind('/') + 1);
    }
    context.client().call("DELETE", userPath(context, options.name) + query);
}

// An operator sees no list of users and no audit trail.
void exportUser(CommandContext& context, const PersonOptions& options)
{
    ApiClient& client = context.client();
    const bool isOwn = options.name == context.session().user;
    const json user = isOwn ? client.call("GET", "/account").at("user") : json();
    const std::string path =
        isOwn ? "/users/" + user.at("id").dump() : userPath(context, options.name);
    json document = client.call("GET", path + "/export");
    document["positions"] = allItems(client, path + "/track", "positions");
    if (!isOwn || user.at("role") != "operator") {
        document["audit"] =
            allItems(client, "/audit?user=" + path.substr(path.rfind('/') + 1), "entries");
    }
    std::cout << oneLine(document) << std::endl;
}

void eraseTrack(CommandContext& context, const PersonOptions& options)
{
    context.client().call("DELETE", userPath(context, options.name) + "/track");
}

void renameFarm(CommandContext& context, const PersonOptions& options)
{
    const json farm = context.client().call("PATCH", farmPath(context, options.name),
                                            json{{"name", options.newName}});
    context.print(farm, "Renamed to " + printable(farm.at("name").get<std::string>()) + ".");
}

void deleteFarm(CommandContext& context, const PersonOptions& options)
{
    context.client().call("DELETE", farmPath(context, options.name) +
                                        "?confirm=" + percentEncoded(options.other));
}

void addOwnCommands(CLI::App& line, CommandContext& context, const Options& options)
{
    CLI::App& passwd =
        addCommand(line, context, options, "passwd",
                   "Change your own password and end your other sessions", changeOwnPassword);
    passwd
        .add_option(
            "--password-file", options->passwordFile,
            "File with the current password (default: KELVOCTL_PASSWORD, then the terminal)")
        ->type_name("FILE");
    passwd
        .add_option(
            "--new-password-file", options->newPasswordFile,
            "File with the new password (default: KELVOCTL_NEW_PASSWORD, then the terminal)")
        ->type_name("FILE");
    CLI::App* session =
        line.add_subcommand("session", "Your sessions, or those of a user")->fallthrough();
    session->require_subcommand(1);
    CLI::App& list =
        addCommand(*session, context, options, "list", "List the sessions", listSessions);
    CLI::App& end = addCommand(*session, context, options, "end", "End a session", endSession);
    end.add_option("ID", options->other, "Id of the session, as printed by session list")
        ->required();
    for (CLI::App* command : {&list, &end}) {
        command
            ->add_option("--user", options->name,
                         "User whose sessions you manage (office, administrator)")
            ->type_name("NAME");
    }
    CLI::App& mv = addCommand(line, context, options, "mv", "Rename a file", renameFile);
    mv.add_option("ID", options->id, "Id of the file, as printed by ls")
        ->required()
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
    mv.add_option("NAME", options->newName, "New name")->required();
}

CLI::App& addUserCommand(CLI::App& user, CommandContext& context, const Options& options,
                         const char* name, const char* help, Action action)
{
    CLI::App& command = addCommand(user, context, options, name, help, action);
    command.add_option("NAME", options->name, "Name of the user")->required();
    return command;
}

void addUserCommands(CLI::App& user, CommandContext& context, const Options& options)
{
    addUserCommand(user, context, options, "rename", "Rename a user", renameUser)
        .add_option("NEW-NAME", options->newName, "New name")
        ->required();
    addUserCommand(user, context, options, "role",
                   "Change a user's role and end the user's sessions (administrator)", setRole)
        .add_option("ROLE", options->other, "operator or office")
        ->required()
        ->check(CLI::IsMember({"operator", "office"}));
    addUserCommand(user, context, options, "delete", "Delete a user and the user's positions",
                   deleteUser)
        .add_option("--heir", options->other, "User who gets the files")
        ->type_name("NAME");
    addUserCommand(user, context, options, "export",
                   "Print a user's data as JSON: files, sessions, positions, audit trail",
                   exportUser);
    addUserCommand(user, context, options, "erase-track", "Delete the positions of a user's work",
                   eraseTrack);
}

void addFarmCommands(CLI::App& farm, CommandContext& context, const Options& options)
{
    CLI::App& rename = addCommand(farm, context, options, "rename", "Rename a farm", renameFarm);
    rename.add_option("NAME", options->name, "Name of the farm")->required();
    rename.add_option("NEW-NAME", options->newName, "New name")->required();
    CLI::App& remove = addCommand(farm, context, options, "delete",
                                  "Delete a farm with its users and files", deleteFarm);
    remove.add_option("NAME", options->name, "Name of the farm")->required();
    remove.add_option("--confirm", options->other, "The name again")->required()->type_name("NAME");
}

} // namespace

void addPersonCommands(CLI::App& line, CommandContext& context)
{
    const auto options = std::make_shared<PersonOptions>();
    addOwnCommands(line, context, options);
    addUserCommands(*line.get_subcommand("user"), context, options);
    addFarmCommands(*line.get_subcommand("farm"), context, options);
}

} // namespace kelvoctl
