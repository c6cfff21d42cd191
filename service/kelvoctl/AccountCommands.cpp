// login, logout, and the administrator's commands for farms and users.
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"
#include "service/kelvoctl/Pages.h"
#include "service/kelvoctl/PasswordPrompt.h"
#include "service/kelvoctl/Users.h"

#include <iostream>

namespace kelvoctl {
namespace {

using nlohmann::json;

struct UserOptions
{
    std::string name;
    std::string farm;
    std::string role = "operator";
    std::string passwordFile;
    bool withInboxes = true;
};

std::string farmOf(const json& user)
{
    return user.at("farm").is_object() ? user.at("farm").at("name").get<std::string>() : "";
}

std::string describe(const json& user)
{
    const std::string farm = farmOf(user);
    return printable(user.at("name").get<std::string>() + " (" +
                     user.at("role").get<std::string>() + (farm.empty() ? "" : " of " + farm) +
                     (user.at("disabled").get<bool>() ? ", disabled" : "") + ")");
}

void login(CommandContext& context, const UserOptions& options)
{
    const std::unique_ptr<ApiClient> client = context.anonymousClient();
    const std::string password = readPassword(options.passwordFile, "KELVOCTL_PASSWORD",
                                              "Password of " + options.name + ": ");
    const json answer =
        client->call("POST", "/sessions", json{{"user", options.name}, {"password", password}});
    const json& user = answer.at("user");
    context.adopt(
        {context.effectiveServer(), context.effectiveCa(), user.at("name"), answer.at("token")});
    context.print({{"user", user}, {"expires_at", answer.at("expires_at")}},
                  "Logged in as " + describe(user) + ".");
}

// The local session is removed even if the service no longer knows it.
void logout(CommandContext& context)
{
    ApiClient& client = context.client();
    Request request;
    request.method = "DELETE";
    request.path = "/sessions/current";
    const Response response = client.send(request);
    if (response.status != 204 && response.status != 401) {
        throwRefused(response);
    }
    context.forget();
}

void addFarm(CommandContext& context, const std::string& name)
{
    const json farm = context.client().call("POST", "/farms", json{{"name", name}});
    context.print(farm, "Added the farm " + printable(farm.at("name").get<std::string>()) + ".");
}

void listFarms(CommandContext& context)
{
    printItems(context, "/farms", "farms", [](const json& farm) {
        std::cout << farm.at("id") << "  " << printable(farm.at("name").get<std::string>()) << "\n";
    });
}

std::string newPassword(const UserOptions& options)
{
    return readPassword(options.passwordFile, "KELVOCTL_NEW_PASSWORD",
                        "New password of " + options.name + ": ");
}

void addUser(CommandContext& context, const UserOptions& options)
{
    const bool needsFarm = options.role == "office";
    if ((needsFarm && options.farm.empty()) || (options.role == "admin" && !options.farm.empty())) {
        throw UsageError("An office user needs --farm; an admin has no farm.");
    }
    ApiClient& client = context.client();
    json body = {
        {"name", options.name}, {"role", options.role}, {"password", newPassword(options)}};
    if (!options.farm.empty()) {
        body["farm"] = options.farm;
    }
    if (options.role == "operator") {
        body["inboxes"] = options.withInboxes;
    }
    const json user = client.call("POST", "/users", body);
    context.print(user, "Added the user " + describe(user) + ".");
}

void listUsers(CommandContext& context, const std::string& farm)
{
    const std::string query = farm.empty() ? "" : "?farm=" + percentEncoded(farm);
    printItems(context, "/users" + query, "users", [](const json& user) {
        std::cout << user.at("id") << "  " << describe(user) << "\n";
    });
}

void changeUser(CommandContext& context, const std::string& name, const json& change)
{
    const json changed = context.client().call("PATCH", userPath(context, name), change);
    context.print(changed, "Changed the user " + describe(changed) + ".");
}

void addFarmCommands(CLI::App& line, CommandContext& context,
                     const std::shared_ptr<UserOptions>& options)
{
    CLI::App* farm = line.add_subcommand("farm", "Farms (administrator)")->fallthrough();
    farm->require_subcommand(1);
    CLI::App* add = farm->add_subcommand("add", "Add a farm")->fallthrough();
    add->add_option("NAME", options->farm, "Name of the farm")->required();
    add->callback([&context, options] {
        context.action = [&context, options] { addFarm(context, options->farm); };
    });
    CLI::App* list = farm->add_subcommand("list", "List all farms")->fallthrough();
    list->callback([&context] { context.action = [&context] { listFarms(context); }; });
}

void addNewPasswordOption(CLI::App& command, const std::shared_ptr<UserOptions>& options)
{
    command
        .add_option(
            "--new-password-file", options->passwordFile,
            "File with the new password (default: KELVOCTL_NEW_PASSWORD, then the terminal)")
        ->type_name("FILE");
}

void addUserChanges(CLI::App& user, CommandContext& context,
                    const std::shared_ptr<UserOptions>& options)
{
    struct Change
    {
        const char* name;
        const char* help;
        bool disabled;
    };
    for (const Change& change :
         {Change{"disable", "Disable a user and end the user's sessions", true},
          Change{"enable", "Enable a user", false}}) {
        CLI::App* command = user.add_subcommand(change.name, change.help)->fallthrough();
        command->add_option("NAME", options->name, "Name of the user")->required();
        command->callback([&context, options, disabled = change.disabled] {
            context.action = [&context, options, disabled] {
                changeUser(context, options->name, {{"disabled", disabled}});
            };
        });
    }
    CLI::App* admit =
        user.add_subcommand("admit", "Let a user log in for 15 minutes despite failed logins")
            ->fallthrough();
    admit->add_option("NAME", options->name, "Name of the user")->required();
    admit->callback([&context, options] {
        context.action = [&context, options] {
            context.client().call("POST", userPath(context, options->name) + "/admit");
        };
    });
    CLI::App* passwd =
        user.add_subcommand("passwd", "Set a user's password and end the user's sessions")
            ->fallthrough();
    passwd->add_option("NAME", options->name, "Name of the user")->required();
    addNewPasswordOption(*passwd, options);
    passwd->callback([&context, options] {
        context.action = [&context, options] {
            changeUser(context, options->name, {{"password", newPassword(*options)}});
        };
    });
}

void addUserCommands(CLI::App& line, CommandContext& context,
                     const std::shared_ptr<UserOptions>& options)
{
    CLI::App* user =
        line.add_subcommand("user", "Users (administrator; the office for its operators)")
            ->fallthrough();
    user->require_subcommand(1);
    CLI::App* add = user->add_subcommand("add", "Add a user")->fallthrough();
    add->add_option("NAME", options->name, "Name of the user")->required();
    add->add_option("--farm", options->farm, "Farm of the user; the office may leave it out")
        ->type_name("NAME");
    add->add_flag("!--no-inboxes", options->withInboxes,
                  "Make no inboxes: the console makes them at its first login");
    add->add_option("--role", options->role, "operator, office or admin")
        ->check(CLI::IsMember({"operator", "office", "admin"}))
        ->capture_default_str();
    addNewPasswordOption(*add, options);
    add->callback([&context, options] {
        context.action = [&context, options] { addUser(context, *options); };
    });
    CLI::App* list = user->add_subcommand("list", "List all users")->fallthrough();
    list->add_option("--farm", options->farm, "Only users of this farm")->type_name("NAME");
    list->callback([&context, options] {
        context.action = [&context, options] { listUsers(context, options->farm); };
    });
    addUserChanges(*user, context, options);
}

} // namespace

void addAccountCommands(CLI::App& line, CommandContext& context)
{
    const auto options = std::make_shared<UserOptions>();
    CLI::App* in = line.add_subcommand("login", "Log in and store the session")->fallthrough();
    in->add_option("USER", options->name, "Name of the user")->required();
    in->add_option("--password-file", options->passwordFile,
                   "File with the password (default: KELVOCTL_PASSWORD, then the terminal)")
        ->type_name("FILE");
    in->callback([&context, options] {
        context.action = [&context, options] { login(context, *options); };
    });
    CLI::App* out = line.add_subcommand("logout", "End the session and remove it")->fallthrough();
    out->callback([&context] { context.action = [&context] { logout(context); }; });
    addFarmCommands(line, context, options);
    addUserCommands(line, context, options);
}

} // namespace kelvoctl
