#include "service/CommandLine.h"

#include "service/base/Encoding.h"
#include "service/http/Address.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <memory>
#include <stdexcept>

namespace kelvo {

namespace {

constexpr int badUsage = 2;
constexpr long long mostEventsWithHours = 1000000; // so that a farm cannot fill the disk

/** Reads "1000" (events) or "72h" (hours). Returns an error text, empty on success. */
std::string readRetention(const std::string& text, ServeOptions& options)
{
    const bool hours = !text.empty() && text.back() == 'h';
    const auto number =
        parseNumber(std::string_view(text).substr(0, text.size() - (hours ? 1 : 0)));
    if (!number || *number == 0 || *number > 1000000000) {
        return "give a number of events, or hours such as 72h";
    }
    options.eventHours = hours ? static_cast<int>(*number) : 0;
    options.eventsKept = hours ? mostEventsWithHours : static_cast<long long>(*number);
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

/** For all commands with an option --contents. */
template <class Options>
std::string readContents(const std::string& text, Options& options)
{
    try {
        options.contents = ContentsPlace::parse(text);
        return {};
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

/** Adds an option whose text `read` parses. `read` returns an error text, empty on success. */
template <class Options>
void addReadOption(CLI::App& command, Options& options, const std::string& name,
                   std::string (*read)(const std::string&, Options&), const char* meaning,
                   const std::string& shownDefault)
{
    command
        .add_option_function<std::string>(
            name,
            [&options, name, read](const std::string& text) {
                if (const auto wrong = read(text, options); !wrong.empty()) {
                    throw CLI::ValidationError(name, wrong);
                }
            },
            meaning)
        ->default_str(shownDefault);
}

/** Adds the timeouts of slow peers. */
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
         "Seconds for the first bytes of a handshake, and for a request's head"},
        {"--idle-timeout", &ServeOptions::idleSeconds, "Seconds between two requests"},
        {"--stall-timeout", &ServeOptions::stallSeconds,
         "Stall timeout of a body or an answer in seconds"},
    };
    for (const Row& row : rows) {
        serve.add_option(row.name, options.*row.value, row.meaning)
            ->check(CLI::Range(1, 24 * 3600))
            ->capture_default_str();
    }
}

/** Returns an error text, empty on success. */
std::string checkNetwork(const std::string& text)
{
    try {
        const http::AddressList list({text});
        return {};
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

/** Adds the limits of connections and the proxies in front of the service. */
void addConnectionLimits(CLI::App& serve, ServeOptions& options)
{
    serve
        .add_option("--max-connections", options.connections,
                    "Largest number of connections; more are answered 'busy'")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    serve
        .add_option("--max-connections-per-address", options.connectionsPerAddress,
                    "Largest number of connections from one address (IPv6: from one /64 network);"
                    " a quarter of them may have an unfinished request head")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    auto* proxies = serve.add_option(
        "--trusted-proxy", options.trustedProxies,
        "Address or network of a proxy whose Forwarded or X-Forwarded-For tells the client");
    proxies->check(CLI::Validator(checkNetwork, "NETWORK"));
    serve
        .add_flag("--proxy-protocol", options.proxyProtocol,
                  "The connections of trusted proxies begin with a PROXY header, version 1 or 2")
        ->needs(proxies);
}

/** Adds the quotas that hold for farms without a quota of their own. */
void addQuotas(CLI::App& serve, ServeOptions& options)
{
    for (const store::LimitName& limit : store::limitNames) {
        const std::string name = limit.name;
        const auto add = [&serve](const std::string& option, long long& value,
                                  const std::string& meaning) {
            serve.add_option(option, value, meaning)
                ->check(CLI::Range(0LL, 1LL << 52))
                ->capture_default_str();
        };
        if (limit.isOfFarm) {
            add("--farm-" + name, options.quotas.farm.*limit.value, "Default quota of a farm");
        }
        if (limit.isOfUser) {
            add("--user-" + name, options.quotas.user.*limit.value, "Default quota of a user");
        }
    }
    serve
        .add_option("--metrics-farms", options.shownFarms,
                    "Number of farms with metrics of their own: the farms that store most")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str();
}

void addOptions(CLI::App& serve, ServeOptions& options)
{
    serve.add_option("--data", options.dataFolder, "Folder for all stored data")->required();
    addReadOption(serve, options, "--contents", readContents<ServeOptions>,
                  "Where the bytes of files are: file:DIR or s3://BUCKET?endpoint=https://HOST,"
                  " with &region=NAME and &ca=FILE if needed. The credentials of a bucket are in"
                  " the file that KELVO_S3_CREDENTIALS names, or in AWS_ACCESS_KEY_ID and"
                  " AWS_SECRET_ACCESS_KEY",
                  "the data folder");
    serve
        .add_option("--listen", options.listen, "HOST:PORT of the API; port 0 selects a free port")
        ->required();
    serve
        .add_option(
            "--metrics-listen", options.metricsListen,
            "HOST:PORT of /healthz, /readyz and /metrics (plain HTTP); port 0 selects a free port")
        ->capture_default_str();
    auto* certificate = serve.add_option("--cert", options.certificate,
                                         "Certificate chain (PEM) instead of the service's own");
    auto* key = serve.add_option("--key", options.key, "Key of this certificate (PEM)");
    certificate->needs(key);
    key->needs(certificate);
    serve.add_option("--name", options.names,
                     "Another host name for the service's own certificate");
    serve.add_option("--web", options.webFolder, "Folder with the office's page, served at /");
    serve.add_option("--max-upload", options.maxUploadBytes, "Largest file in bytes")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    serve
        .add_option("--disk-reserve", options.reserveBytes,
                    "Bytes of the disk that only the database may use; 0: none")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    serve
        .add_option("--answer-bytes", options.answerBytes,
                    "Bytes of large answers that wait for slow readers; a farm has an eighth")
        ->check(CLI::Range(1ULL << 20, 1ULL << 52))
        ->capture_default_str();
    serve
        .add_option("--login-attempts", options.loginAttempts,
                    "Failed logins of a user before the next login has to wait")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    serve.add_option("--session-hours", options.sessionHours, "Hours until a login expires")
        ->check(CLI::Range(1, 24 * 3660))
        ->capture_default_str();
    addConnectionLimits(serve, options);
    addTimeLimits(serve, options);
    addQuotas(serve, options);
    serve
        .add_option("--keep-unknown-days", options.unknownDays,
                    "Days that the service keeps stored files that are not in its database")
        ->check(CLI::Range(0, 3650))
        ->capture_default_str();
    serve
        .add_option("--console-days", options.consoleDays,
                    "Days without contact after which a console is forgotten")
        ->check(CLI::Range(1, 36500))
        ->capture_default_str();
    serve.add_option("--audit-days", options.auditDays, "Days that the audit trail is kept")
        ->check(CLI::Range(1, 3650))
        ->capture_default_str();
    addReadOption(serve, options, "--password-cost", readCost,
                  "Cost of a password hash: min, interactive or moderate", "interactive");
    addReadOption(serve, options, "--event-retention", readRetention,
                  "Events kept for each farm: a number, or hours such as 72h and at most a million",
                  std::to_string(options.eventsKept));
    serve.add_option("--log-level", options.logLevel, "debug, info, warning or error")
        ->check(CLI::IsMember({"debug", "info", "warning", "error"}))
        ->capture_default_str();
}

/** Each option also has an environment variable: --max-upload is KELVO_SERVICE_MAX_UPLOAD. */
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

/** The options of a command. They become the result if the command was given. */
template <class Options>
std::shared_ptr<Options> optionsOf(CLI::App& command, std::optional<Options>& result)
{
    auto options = std::make_shared<Options>();
    command.callback([options, &result] { result = *options; });
    return options;
}

void addVerify(CLI::App& app, CommandLine& result)
{
    CLI::App* verify = app.add_subcommand(
        "verify", "Check a whole data folder: the database, every content, every upload");
    const auto options = optionsOf(*verify, result.verify);
    verify->footer(
        "Writes nothing; the service may run meanwhile. Prints a line for each finding.\n"
        "Exit code 0: nothing is damaged; 1: something is damaged; 2: the check was not possible.");
    verify->add_option("--data", options->dataFolder, "The service's data folder")->required();
    addReadOption(*verify, *options, "--contents", readContents<VerifyOptions>,
                  "The bucket of the contents, as in the command serve", "");
}

void addBackup(CLI::App& app, CommandLine& result)
{
    CLI::App* backup =
        app.add_subcommand("backup", "Make a consistent copy; the service may run meanwhile");
    const auto options = optionsOf(*backup, result.backup);
    backup->footer(
        "The copy holds keys, password hashes and contents: protect it like the original.\n"
        "Contents in a bucket are not copied.\n"
        "Exit code 0: complete; 1: complete, but something was damaged already; 2: refused;\n"
        "3: failed.");
    backup->add_option("--data", options->dataFolder, "The service's data folder")->required();
    backup->add_option("--to", options->to, "A new or empty folder")->required();
}

void addRestore(CLI::App& app, CommandLine& result)
{
    CLI::App* restore =
        app.add_subcommand("restore", "Restore a backup while the service does not run");
    const auto options = optionsOf(*restore, result.restore);
    restore->footer("Exit code 0: complete; 1: complete, but something was damaged in the backup;\n"
                    "2: refused; 3: failed.");
    restore->add_option("--from", options->from, "A folder made by the command backup")->required();
    restore->add_option("--data", options->dataFolder, "The service's data folder")->required();
    restore->add_flag(
        "--force", options->force,
        "Restore into a folder that is not empty: its content is moved to replaced-TIME in it");
}

void addReady(CLI::App& app, CommandLine& result)
{
    CLI::App* ready =
        app.add_subcommand("ready", "Ask the running service of this machine for /readyz");
    ready->footer("Prints the answer, which names a part that does not work.\n"
                  "Exit code 0: ready; 1: not ready; 2: the service does not answer.");
    const auto options = optionsOf(*ready, result.ready);
    ready->add_option("--data", options->dataFolder, "The service's data folder")->required();
}

void addClockConfirm(CLI::App& app, CommandLine& result)
{
    CLI::App* clock = app.add_subcommand("clock", "The machine's clock after it jumped");
    clock->require_subcommand(1);
    CLI::App* confirm = clock->add_subcommand(
        "confirm", "Confirm that this machine's clock is right now; the clean-up continues");
    confirm->footer("A running service reads this within ten minutes, or at once on SIGHUP.\n"
                    "Exit code 0: written; 2: refused; 3: failed.");
    const auto options = optionsOf(*confirm, result.confirmClock);
    confirm->add_option("--data", options->dataFolder, "The service's data folder")->required();
}

void addTls(CLI::App& app, CommandLine& result)
{
    CLI::App* tls = app.add_subcommand("tls", "The certificate of the service and its authority");
    tls->require_subcommand(1);
    const auto options = optionsOf(*tls, result.tls);
    CLI::App* status = tls->add_subcommand("status", "Show names and end dates");
    status->footer("Exit code 0: all is valid for 30 days; 1: something ends within 30 days or\n"
                   "has ended; 2: refused; 3: failed.");
    status->add_option("--cert", options->certificate,
                       "The certificate chain (PEM) that the service uses instead of its own");
    CLI::App* renew = tls->add_subcommand("renew", "Make a new certificate and show it");
    renew->footer("A running service takes the new certificate within seconds. Open connections\n"
                  "keep the old one.");
    renew->callback([options] { options->renews = true; });
    for (CLI::App* command : {status, renew}) {
        command->add_option("--data", options->dataFolder, "The service's data folder")->required();
    }
}

} // namespace

CommandLine parseCommandLine(int argc, char** argv)
{
    CLI::App app{"The farm-data service for guidance consoles and farm offices."};
    app.name("kelvo-service");
    app.set_version_flag("--version", KELVO_SERVICE_VERSION);
    app.require_subcommand(1);
    app.allow_config_extras(CLI::config_extras_mode::error); // a misspelt line is an error
    app.set_config(
        "--config", "",
        "File with the options of each command, in sections such as [serve]. The command "
        "line takes precedence over the file, the file over the environment");
    CLI::App* serve = app.add_subcommand("serve", "Run the service until SIGTERM or SIGINT");
    ServeOptions options;
    addOptions(*serve, options);
    addVariables(*serve);
    CommandLine result;
    serve->callback([&result, &options] { result.serve = options; });
    addVerify(app, result);
    addBackup(app, result);
    addRestore(app, result);
    addReady(app, result);
    addClockConfirm(app, result);
    addTls(app, result);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        result.exitCode = app.exit(error) == 0 ? 0 : badUsage;
        return result;
    }
    return result;
}

} // namespace kelvo
