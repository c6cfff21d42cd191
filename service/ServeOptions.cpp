#include "service/ServeOptions.h"

#include "service/OptionParsing.h"
#include "service/base/Encoding.h"
#include "service/http/Address.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace kelvo {

namespace {

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

void addBaseMapOptions(CLI::App& serve, api::BaseMapOptions& options)
{
    auto* file = serve.add_option("--map", options.file,
                                  "PMTiles file with the base map of the office's page");
    auto* tiles = serve.add_option("--map-tiles", options.tiles,
                                   "https address of the base map's tiles, with {z}, {x} and {y}");
    file->excludes(tiles);
    serve
        .add_option(
            "--map-max-zoom", options.maxZoom,
            "Largest zoom of these tiles. Closer views show the tiles of this zoom, enlarged")
        ->needs(tiles)
        ->check(CLI::Range(0, 30))
        ->capture_default_str();
    serve.add_option("--map-attribution", options.attribution,
                     "Text on the base map, such as its copyright");
}

void addOptions(CLI::App& serve, ServeOptions& options)
{
    serve.add_option("--data", options.dataFolder, "Folder for all stored data")->required();
    addReadOption(serve, options, "--database", readDatabase<ServeOptions>,
                  "Where the rows are: sqlite:FILE or postgresql://USER@HOST/DATABASE, for several"
                  " instances with --contents s3://. The password is in the file that PGPASSFILE"
                  " names, or in PGPASSWORD",
                  "sqlite:kelvo.sqlite in the data folder");
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
    addBaseMapOptions(serve, options.baseMap);
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
        .add_option("--transfer-bytes", options.transferBytes,
                    "Memory of all uploads and downloads that run, if the files are in a bucket; a"
                    " farm has a quarter")
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
    serve
        .add_option("--drain", options.drainSeconds,
                    "Seconds between SIGTERM and the stop, in which a proxy finds the service not"
                    " ready and the clients move to other instances")
        ->check(CLI::Range(0, 3600))
        ->capture_default_str();
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

/** A folder of this machine and its disk reserve belong to a database on this machine. */
void requireTogether(const CLI::App& serve, const ServeOptions& options)
{
    if (!options.database.isOnServer()) {
        return;
    }
    if (!options.contents.bucket) {
        throw CLI::ValidationError("--database",
                                   "a database on a server needs --contents s3://…: the other"
                                   " instances cannot read or lock files in a folder");
    }
    if (serve.count("--disk-reserve") > 0) {
        throw CLI::ValidationError("--disk-reserve",
                                   "the disk of the database belongs to its server");
    }
}

} // namespace

void addServe(CLI::App& app, std::optional<ServeOptions>& result)
{
    CLI::App* serve = app.add_subcommand("serve", "Run the service until SIGTERM or SIGINT");
    const auto options = std::make_shared<ServeOptions>();
    addOptions(*serve, *options);
    addVariables(*serve);
    serve->callback([serve, options, &result] {
        requireTogether(*serve, *options);
        result = *options;
    });
}

} // namespace kelvo
