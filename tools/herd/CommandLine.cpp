#include "tools/herd/CommandLine.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace herd {

namespace {

constexpr int badUsage = 2;
constexpr const char* passwordVariable = "KELVO_HERD_PASSWORD";
constexpr std::uint32_t mostConsoles = 50'000;
constexpr std::uint32_t mostFarms = 9999; // four digits in the names
constexpr std::uint32_t mostConsolesOfFarm =
    999; // the service's default quota of users, with the office
constexpr std::uint32_t consolesOfFarm = 50;
constexpr std::uint32_t mostReadBack = 10'000'000;
constexpr std::uint64_t mostBytes = 16 << 20; // the digest is computed without a pause

void addSeconds(CLI::App& app, const char* name, std::chrono::seconds& value, const char* meaning)
{
    app.add_option_function<std::uint32_t>(
           name, [&value](std::uint32_t seconds) { value = std::chrono::seconds(seconds); },
           meaning)
        ->type_name("SECONDS")
        ->check(CLI::Range(0, 30 * 24 * 3600))
        ->default_str(std::to_string(value.count()));
}

void addService(CLI::App& app, Options& options)
{
    app.add_option(
           "--server", options.servers,
           "HOST:PORT of the service. Repeat it for several instances: the consoles are spread "
           "over them, and after a failure a console takes the next one")
        ->required();
    app.add_option(
        "--ca", options.caFile,
        "File with the authorities of the service's certificate (PEM); default: the system's");
    app.add_option("--admin", options.admin, "The administrator who makes the farms and users")
        ->capture_default_str();
    app.add_option("--password-file", options.passwordFile,
                   std::string("File with the administrator's password; default: the variable ") +
                       passwordVariable);
    app.add_flag("--clean", options.cleans, "Delete the herd's farms, and do nothing else");
}

void addHerd(CLI::App& app, Options& options)
{
    app.add_option("--consoles", options.consoles, "Simulated consoles")
        ->check(CLI::Range(1U, mostConsoles))
        ->capture_default_str();
    app.add_option("--farms", options.farms, "Farms; default: one for each 50 consoles")
        ->check(CLI::Range(1U, mostFarms));
    addSeconds(app, "--ramp", options.ramp, "The logins are spread over this time");
    addSeconds(app, "--duration", options.duration, "Time of the load after the ramp");
    addSeconds(app, "--settle", options.settle,
               "Longest wait at the end for running uploads and for streams");
    addSeconds(app, "--check-limit", options.checks, "Longest time of the checks that follow");
    app.add_option("--read-back", options.readBack,
                   "Files that the checks read; if more are stored, the seed chooses")
        ->check(CLI::Range(0U, mostReadBack))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "The same seed gives the same schedule of actions")
        ->capture_default_str();
    app.add_option("--upload-bytes", options.mostUploadBytes,
                   "Largest upload; the sizes begin at 1000 bytes")
        ->check(CLI::Range(std::uint64_t{1000}, mostBytes))
        ->capture_default_str();
    app.add_option("--link-rate", options.linkBytesPerSecond,
                   "Bytes per second of an upload; 0: as fast as possible")
        ->capture_default_str();
    for (std::size_t i = 0; i < actionCount; ++i) {
        const bool isOffice = actionRows[i].role == ERole::Office;
        app.add_option(actionRows[i].option, options.rates[i],
                       std::string(actionRows[i].meaning) + ", per hour of each " +
                           (isOffice ? "office" : "console"))
            ->check(CLI::Range(0.0, 360'000.0))
            ->capture_default_str();
    }
}

void addOutput(CLI::App& app, Options& options)
{
    addSeconds(app, "--progress", options.progress, "Time between two lines of progress; 0: none");
    app.add_option("--report", options.reportFile, "Write the figures to this file too, as JSON");
}

/** Computes the defaults and checks options against each other. Throws CLI::ValidationError. */
void complete(Options& options)
{
    if (options.farms == 0) {
        options.farms = (options.consoles + consolesOfFarm - 1) / consolesOfFarm;
    }
    if (options.farms > options.consoles) {
        throw CLI::ValidationError("--farms", "each farm needs a console");
    }
    if (options.consoles > options.farms * mostConsolesOfFarm) {
        throw CLI::ValidationError("--farms", "a farm has at most " +
                                                  std::to_string(mostConsolesOfFarm) + " consoles");
    }
}

} // namespace

CommandLine parseCommandLine(int argc, char** argv)
{
    CLI::App app{
        "Simulates many consoles of a KELVO farm-data service, measures the service's answers and\n"
        "checks that it loses nothing. The consoles get farms and users of their own, which stay\n"
        "until --clean."};
    app.name("kelvo-herd");
    app.footer(
        "Ctrl-C ends the load; the checks and the report follow. A second one skips the checks.\n"
        "Exit code 0: all invariants hold; 1: one is broken; 2: refused to start; 3: the checks "
        "did\n"
        "not come to their end; 4: something was not checked, the rest holds; 5: the report could\n"
        "not be written.");
    Options options;
    addService(app, options);
    addHerd(app, options);
    addOutput(app, options);
    try {
        app.parse(argc, argv);
        complete(options);
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, app.exit(error) == 0 ? 0 : badUsage};
    }
    return {options, 0};
}

std::string readPassword(const Options& options)
{
    std::string password;
    if (!options.passwordFile.empty()) {
        std::ifstream file(options.passwordFile);
        std::getline(file, password);
        if (password.empty()) {
            throw std::runtime_error("--password-file: no password in " + options.passwordFile);
        }
    } else if (const char* variable = std::getenv(passwordVariable)) {
        password = variable;
    }
    if (password.empty()) {
        throw std::runtime_error(std::string("The administrator's password is missing: use "
                                             "--password-file or ") +
                                 passwordVariable + ".");
    }
    return password;
}

} // namespace herd
