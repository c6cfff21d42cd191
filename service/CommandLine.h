// The command line of kelvo-service.
#pragma once

#include "service/ContentsPlace.h"
#include "service/DatabasePlace.h"
#include "service/ServeOptions.h"

#include <filesystem>
#include <optional>

namespace kelvo {

struct VerifyOptions
{
    std::filesystem::path dataFolder; // may be empty with `database`
    DatabasePlace database;           // on a server, or none
    std::optional<ContentsPlace> contents;
};

struct BackupOptions
{
    std::filesystem::path dataFolder;
    std::filesystem::path to;
};

struct RestoreOptions
{
    std::filesystem::path from;
    std::filesystem::path dataFolder;
    bool force = false;
    DatabasePlace database; // on a server, without the other options; or none
};

struct MigrateOptions
{
    std::filesystem::path from;
    DatabasePlace database; // on a server
    ContentsPlace contents; // a bucket
};

struct ReadyOptions
{
    std::filesystem::path dataFolder;
};

struct ClockConfirmOptions
{
    std::filesystem::path dataFolder;
};

struct TlsOptions
{
    std::filesystem::path dataFolder;
    std::filesystem::path certificate; // a given certificate; empty: the service's own
    bool renews = false;               // makes a new certificate first
    bool renewsAuthority = false;      // and a new authority
};

/** At most one command is set. Without a command only help or an error was printed. */
struct CommandLine
{
    std::optional<ServeOptions> serve;
    std::optional<VerifyOptions> verify;
    std::optional<BackupOptions> backup;
    std::optional<RestoreOptions> restore;
    std::optional<MigrateOptions> migrate;
    std::optional<ReadyOptions> ready;
    std::optional<ClockConfirmOptions> confirmClock;
    std::optional<TlsOptions> tls;
    int exitCode = 0;
};

/** Prints help and errors itself. */
CommandLine parseCommandLine(int argc, char** argv);

} // namespace kelvo
