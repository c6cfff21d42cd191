#include "service/CommandLine.h"

#include "service/OptionParsing.h"

namespace kelvo {

namespace {

constexpr int badUsage = 2;

void addVerify(CLI::App& app, CommandLine& result)
{
    CLI::App* verify = app.add_subcommand(
        "verify", "Check a whole service: the database, every content, every upload");
    const auto options = std::make_shared<VerifyOptions>();
    verify->footer(
        "Writes nothing; the service may run meanwhile. Prints a line for each finding.\n"
        "Exit code 0: nothing is damaged; 1: something is damaged; 2: the check was not possible;\n"
        "3: the findings could not be printed.");
    verify->add_option("--data", options->dataFolder,
                       "The service's data folder; not needed with --database");
    addReadOption(*verify, *options, "--database", readServer<VerifyOptions>,
                  "The database of several instances, as in the command serve", "");
    addReadOption(*verify, *options, "--contents", readContents<VerifyOptions>,
                  "The bucket of the contents, as in the command serve", "");
    verify->callback([options, &result] {
        if (options->dataFolder.empty() && !options->database.isOnServer()) {
            throw CLI::RequiredError("--data or --database");
        }
        result.verify = *options;
    });
}

/** The error text; empty: the text is no URL. */
std::string refuseUrl(const std::string& text)
{
    return text.find("://") == std::string::npos
               ? ""
               : "give the data folder of a service with SQLite: a service on a database server"
                 " cannot be moved";
}

void addMigrate(CLI::App& app, CommandLine& result)
{
    CLI::App* migrate = app.add_subcommand(
        "migrate", "Move a service from its data folder to PostgreSQL and a bucket");
    const auto options = std::make_shared<MigrateOptions>();
    migrate->footer(
        "Stop the service first. If the command is interrupted, run it again: it goes on.\n"
        "At the end it checks all rows and contents, and marks the folder as moved.\n"
        "Exit code 0: the service has moved; 1: it has not moved, because something in its folder\n"
        "or in the bucket is damaged; 2: refused; 3: failed, run it again.");
    migrate->add_option("--from", options->from, "The service's data folder")
        ->check(CLI::Validator(refuseUrl, "DIR"))
        ->required();
    addReadOption(*migrate, *options, "--database", readServer<MigrateOptions>,
                  "An empty PostgreSQL database, as in the command serve", "");
    addReadOption(*migrate, *options, "--contents", readContents<MigrateOptions>,
                  "The bucket of the contents, as in the command serve", "");
    migrate->get_option("--database")->required();
    migrate->get_option("--contents")->required();
    migrate->callback([options, &result] {
        if (!options->contents.bucket) {
            throw CLI::ValidationError("--contents", "give s3://BUCKET?endpoint=https://HOST");
        }
        result.migrate = *options;
    });
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
    const auto options = std::make_shared<RestoreOptions>();
    restore->footer("Exit code 0: complete; 1: complete, but something was damaged in the backup;\n"
                    "2: refused; 3: failed.");
    auto* from =
        restore->add_option("--from", options->from, "A folder made by the command backup");
    auto* data = restore->add_option("--data", options->dataFolder, "The service's data folder");
    restore->add_flag(
        "--force", options->force,
        "Restore into a folder that is not empty: its content is moved to replaced-TIME in it");
    addReadOption(*restore, *options, "--database", readServer<RestoreOptions>,
                  "Instead of the other options, after PostgreSQL's own tools have restored the"
                  " database of several instances: new ids and events get numbers after a gap",
                  "");
    from->needs(data);
    data->needs(from);
    restore->get_option("--database")->excludes(from);
    restore->callback([options, &result] {
        if (options->from.empty() && !options->database.isOnServer()) {
            throw CLI::RequiredError("--from and --data, or --database");
        }
        result.restore = *options;
    });
}

void addReady(CLI::App& app, CommandLine& result)
{
    CLI::App* ready =
        app.add_subcommand("ready", "Ask the running service of this machine for /readyz");
    ready->footer("Prints the answer, which names a part that does not work.\n"
                  "Exit code 0: ready; 1: not ready; 2: the service does not answer; 3: failed.");
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
    status->footer("Exit code 0: all is valid for 30 days; 1: something ends within 30 days,\n"
                   "has ended or is not yet valid; 2: refused; 3: failed.");
    status->add_option("--cert", options->certificate,
                       "The certificate chain (PEM) that the service uses instead of its own");
    CLI::App* renew = tls->add_subcommand("renew", "Make a new certificate and show it");
    renew->footer("A running service takes the new certificate within seconds. Open connections\n"
                  "keep the old one. Exit codes as for status.");
    renew->callback([options] { options->renews = true; });
    renew->add_flag("--authority", options->renewsAuthority,
                    "Make a new authority too; every client needs the new ca.pem");
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
    CommandLine result;
    addServe(app, result.serve);
    addVerify(app, result);
    addBackup(app, result);
    addRestore(app, result);
    addMigrate(app, result);
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
