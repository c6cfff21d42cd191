// The command line of kelvo-service.
#include "service/CommandLine.h"

#include "service/base/Encoding.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>

namespace kelvo {

namespace {

constexpr int badUsage = 2;

/** "1000" events or "72h" hours. Empty when it is right, else what is wrong. */
std::string readRetention(const std::string& text, ServeOptions& options)
{
    const bool hours = !text.empty() && text.back() == 'h';
    const auto number =
        parseNumber(std::string_view(text).substr(0, text.size() - (hours ? 1 : 0)));
    if (!number || *number == 0 || *number > 1000000000) {
        return "give a number of events, or hours such as 72h";
    }
    options.eventHours = hours ? static_cast<int>(*number) : 0;
    options.eventsKept = hours ? 0 : static_cast<long long>(*number);
    return {};
}

std::string readCost(const std::string& text, ServeOptions& options)
{
    const auto cost = accounts::passwordCostFromText(text);
    if (!cost) {
        return "give min, interactive or moderate";
    }
    options.passwordCost = *cost;
    return {};
}

/** An option whose text is understood by `read`, which says what is wrong with it. */
void addReadOption(CLI::App& serve, ServeOptions& options, const std::string& name,
                   std::string (*read)(const std::string&, ServeOptions&), const char* meaning)
{
    serve.add_option_function<std::string>(
        name,
        [&options, name, read](const std::string& text) {
            if (const auto wrong = read(text, options); !wrong.empty()) {
                throw CLI::ValidationError(name, wrong);
            }
        },
        meaning);
}

/** How long a peer may take. */
void addTimeLimits(CLI::App& serve, ServeOptions& options)
{
    struct Row
    {
        const char* name;
        int ServeOptions::*value;
        const char* meaning;
    };
    static constexpr Row rows[] = {
        {"--head-timeout", &ServeOptions::headSeconds,
         "Seconds for a handshake, and for a request's head"},
        {"--idle-timeout", &ServeOptions::idleSeconds, "Seconds between two requests"},
        {"--stall-timeout", &ServeOptions::stallSeconds,
         "Seconds in which a body or a reply may stand still"},
    };
    for (const Row& row : rows) {
        serve.add_option(row.name, options.*row.value, row.meaning)
            ->check(CLI::Range(1, 24 * 3600))
            ->capture_default_str();
    }
}

void addOptions(CLI::App& serve, ServeOptions& options)
{
    serve.add_option("--data", options.dataFolder, "Folder for everything that is kept")
        ->required();
    serve.add_option("--listen", options.listen, "HOST:PORT of the API; port 0 takes a free one")
        ->required();
    serve
        .add_option("--metrics-listen", options.metricsListen,
                    "HOST:PORT of /healthz and /metrics (plain HTTP)")
        ->capture_default_str();
    auto* certificate = serve.add_option("--cert", options.certificate,
                                         "Certificate chain (PEM) instead of our own");
    auto* key = serve.add_option("--key", options.key, "Key of that certificate (PEM)");
    certificate->needs(key);
    key->needs(certificate);
    serve.add_option("--name", options.names, "Another host name for our own certificate");
    serve.add_option("--max-upload", options.maxUploadBytes, "Largest file in bytes")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    serve
        .add_option("--login-attempts", options.loginAttempts,
                    "Failed logins of a user before they have to wait")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    serve.add_option("--session-hours", options.sessionHours, "How long a login lasts")
        ->check(CLI::Range(1, 24 * 3660))
        ->capture_default_str();
    serve.add_option("--max-connections", options.connections, "More are told to come back later")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    addTimeLimits(serve, options);
    serve
        .add_option(
            "--keep-unknown-days", options.unknownDays,
            "Days that files stay which the database does not know, as after a crash or when"
            " it is the wrong one")
        ->check(CLI::Range(0, 3650))
        ->capture_default_str();
    addReadOption(serve, options, "--password-cost", readCost,
                  "Work a password hash takes: min, interactive or moderate");
    addReadOption(serve, options, "--event-retention", readRetention,
                  "Events kept a farm: a number, or hours such as 72h");
    serve.add_option("--log-level", options.logLevel, "debug, info, warning or error")
        ->check(CLI::IsMember({"debug", "info", "warning", "error"}))
        ->capture_default_str();
}

/** Each option's variable: --max-upload may stand in KELVO_SERVICE_MAX_UPLOAD. */
void addVariables(CLI::App& serve)
{
    for (CLI::Option* option : serve.get_options()) {
        std::string name = "KELVO_SERVICE_" + option->get_single_name();
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char letter) {
            return letter == '-' ? '_' : static_cast<char>(std::toupper(letter));
        });
        if (option->get_single_name() != "help") {
            option->envname(name);
        }
    }
}

CLI::App* addVerify(CLI::App& app, VerifyOptions& options)
{
    CLI::App* verify = app.add_subcommand(
        "verify", "Check a whole data folder: the database, every content, every upload");
    verify->footer(
        "Writes nothing, and may be used while the service runs. A line for each finding.\n"
        "Exit code 0: nothing is damaged; 1: something is; 2: it could not be checked.");
    verify->add_option("--data", options.dataFolder, "The service's data folder")->required();
    return verify;
}

CLI::App* addBackup(CLI::App& app, BackupOptions& options)
{
    CLI::App* backup =
        app.add_subcommand("backup", "Make a consistent copy, also while the service runs");
    backup->footer(
        "It holds keys, password hashes and contents: keep it as safe as the original.\n"
        "Exit code 0: complete; 1: made, but something was damaged already, or it failed;\n"
        "2: refused.");
    backup->add_option("--data", options.dataFolder, "The service's data folder")->required();
    backup->add_option("--to", options.to, "A folder that is not there yet, or empty")->required();
    return backup;
}

CLI::App* addRestore(CLI::App& app, RestoreOptions& options)
{
    CLI::App* restore =
        app.add_subcommand("restore", "Bring a backup back while the service does not run");
    restore->footer("Exit code 0: complete; 1: something was damaged in the backup, or it failed;\n"
                    "2: refused.");
    restore->add_option("--from", options.from, "A folder that backup made")->required();
    restore->add_option("--data", options.dataFolder, "The service's data folder")->required();
    restore->add_flag(
        "--force", options.force,
        "Also if the folder is not empty: what is there is moved to replaced-TIME in it");
    return restore;
}

} // namespace

CommandLine parseCommandLine(int argc, char** argv)
{
    CLI::App app{"The farm-data service that guidance consoles and farm offices share."};
    app.name("kelvo-service");
    app.set_version_flag("--version", KELVO_SERVICE_VERSION);
    app.require_subcommand(1);
    app.allow_config_extras(CLI::config_extras_mode::error); // a misspelt line is not passed over
    app.set_config("--config", "",
                   "Options' values by command, in sections such as [serve]; what stands on the "
                   "command line comes before it, what is in the environment after it");
    CLI::App* serve = app.add_subcommand("serve", "Run the service until SIGTERM or SIGINT");
    ServeOptions options;
    addOptions(*serve, options);
    addVariables(*serve);
    CommandLine result;
    VerifyOptions verify;
    BackupOptions backup;
    RestoreOptions restore;
    const CLI::App* verifying = addVerify(app, verify);
    const CLI::App* backingUp = addBackup(app, backup);
    const CLI::App* restoring = addRestore(app, restore);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        result.exitCode = app.exit(error) == 0 ? 0 : badUsage;
        return result;
    }
    if (serve->parsed()) {
        result.serve = options;
    } else if (verifying->parsed()) {
        result.verify = verify;
    } else if (backingUp->parsed()) {
        result.backup = backup;
    } else if (restoring->parsed()) {
        result.restore = restore;
    }
    return result;
}

} // namespace kelvo
