#include "service/kelvoctl/Run.h"

#include "service/base/Output.h"
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"

#include <curl/curl.h>

#include <csignal>
#include <iostream>

namespace kelvoctl {
namespace {

constexpr const char* kFooter = R"(
Passwords are not command line arguments: they come from a file, from KELVOCTL_PASSWORD (your own password)
or KELVOCTL_NEW_PASSWORD (a password to set), or from the terminal.

Exit codes: 0 success; 1 refused by the service; 2 wrong usage, such as a file that does not exist; 3 the
service cannot be reached or its answer cannot be verified; 4 a failure on this machine: a full disk, a file
that changed while it was sent, an output that cannot be written (without a message if the reader of the
output has ended, as in `| head`).)";

void addGlobalOptions(CLI::App& line, CommandContext& context)
{
    line.add_option("--server", context.server, "Address of the service; login stores it")
        ->check([](const std::string& text) {
            return text.find_first_of("/@?# ") == std::string::npos ? "" : "not HOST:PORT";
        })
        ->type_name("HOST:PORT");
    line.add_option("--ca", context.ca,
                    "Certificate of the service's authority; login stores it. Without it the "
                    "system's authorities are trusted")
        ->check(CLI::ExistingFile.description(""))
        ->type_name("FILE");
    line.add_option("--session", context.sessionFile,
                    "File with the session (default: ~/.config/kelvoctl/session.json)")
        ->type_name("FILE");
    line.add_flag("--json", context.json, "Print results as JSON, one value per line");
}

ExitCode runCommand(int argc, char** argv)
{
    CommandContext context;
    CLI::App line{"Client of a KELVO farm-data service.", "kelvoctl"};
    line.footer(kFooter);
    line.require_subcommand(1);
    line.fallthrough();
    line.failure_message([](const CLI::App*, const CLI::Error& error) {
        return "kelvoctl: " + printable(error.what()) + "\nRun with --help for more.\n";
    });
    addGlobalOptions(line, context);
    addAccountCommands(line, context);
    addPersonCommands(line, context);
    addListCommand(line, context);
    addUploadCommand(line, context);
    addDownloadCommand(line, context);
    addBinCommands(line, context);
    addConsoleCommands(line, context);
    addQuotaCommands(line, context);
    addAuditCommand(line, context);
    addWatchCommand(line, context);
    try {
        line.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool asked = line.exit(error) == 0; // prints the help or the error
        return asked ? ExitCode::Ok : ExitCode::Usage;
    }
    context.action();
    return ExitCode::Ok;
}

/** How a command ended. */
struct End
{
    ExitCode code = ExitCode::Ok;
    std::string message;
};

template <class Work>
End endOf(Work work)
{
    try {
        return {work(), ""};
    } catch (const Failure& failure) {
        return {failure.code(), failure.what()};
    } catch (const kelvo::OutputFailed& failure) {
        return {ExitCode::Local, failure.isClosedPipe() ? "" : failure.what()};
    } catch (const nlohmann::json::exception&) {
        return {ExitCode::Unreachable, "The answer of the service has an unexpected form."};
    } catch (const std::exception& error) {
        return {ExitCode::Local, error.what()};
    }
}

} // namespace

int run(int argc, char** argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    curl_global_init(CURL_GLOBAL_DEFAULT);
    kelvo::Output output;
    End end = endOf([&] { return runCommand(argc, argv); });
    const End written = endOf([&output] {
        output.finish();
        return ExitCode::Ok;
    });
    if (end.code == ExitCode::Ok) {
        end = written;
    }
    if (!end.message.empty()) {
        std::cerr << "kelvoctl: " << printable(end.message) << std::endl;
    }
    curl_global_cleanup();
    return static_cast<int>(end.code);
}

} // namespace kelvoctl
