// The command line of kelvo-service.
#pragma once

#include "service/accounts/Passwords.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelvo {

/** How the service is to run. */
struct ServeOptions
{
    std::filesystem::path dataFolder;
    std::string listen;
    std::string metricsListen = "127.0.0.1:0";
    std::filesystem::path certificate; // with key: a certificate of the user's; empty: our own
    std::filesystem::path key;
    std::vector<std::string> names; // more names for our own certificate
    long long maxUploadBytes = 8LL * 1024 * 1024 * 1024;
    accounts::EPasswordCost passwordCost = accounts::EPasswordCost::Interactive;
    int loginAttempts = 5;
    int sessionHours = 720;
    long long eventsKept = 100000; // a farm; 0: as many as come
    int eventHours = 0;            // 0: however old
    int unknownDays = 7;           // so long files stay that the database does not know
    unsigned connections = 2000;
    int headSeconds = 15;
    int idleSeconds = 75;
    int stallSeconds = 60;
    std::string logLevel = "info";
};

struct VerifyOptions
{
    std::filesystem::path dataFolder;
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
};

/** One of them is there, or none: then only help or a complaint was printed. */
struct CommandLine
{
    std::optional<ServeOptions> serve;
    std::optional<VerifyOptions> verify;
    std::optional<BackupOptions> backup;
    std::optional<RestoreOptions> restore;
    int exitCode = 0;
};

/** Prints help and complaints itself. */
CommandLine parseCommandLine(int argc, char** argv);

} // namespace kelvo
