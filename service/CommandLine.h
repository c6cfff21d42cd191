// The command line of kelvo-service.
#pragma once

#include "service/ContentsPlace.h"
#include "service/accounts/Passwords.h"
#include "service/api/AnswerFiles.h"
#include "service/store/QuotaTable.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelvo {

/** The options of the service. */
struct ServeOptions
{
    std::filesystem::path dataFolder;
    ContentsPlace contents;
    std::string listen;
    std::string metricsListen = "127.0.0.1:9443";
    std::filesystem::path
        certificate; // with `key`: the user's certificate; empty: the service's own
    std::filesystem::path key;
    std::vector<std::string> names; // more names for the service's own certificate
    long long maxUploadBytes = 8LL * 1024 * 1024 * 1024;
    long long reserveBytes = 64LL * 1024 * 1024;
    std::uint64_t answerBytes = api::AnswerFiles::defaultBytes; // unsent, of all farms
    accounts::EPasswordCost passwordCost = accounts::EPasswordCost::Interactive;
    store::Quotas quotas = store::defaultQuotas;
    int shownFarms = 10;
    int loginAttempts = 5;
    int sessionHours = 720;
    long long eventsKept = 100000; // for each farm; 0: no limit
    int eventHours = 0;            // 0: no limit
    int auditDays = 180;
    int consoleDays = 730;
    int unknownDays = 7; // days that stored files without a row in the database are kept
    unsigned connections = 2000;
    unsigned connectionsPerAddress = 1000;
    std::vector<std::string> trustedProxies; // addresses and networks
    bool proxyProtocol = false;
    int headSeconds = 60;
    int idleSeconds = 75;
    int stallSeconds = 60;
    std::filesystem::path webFolder; // the built page of the office; empty: no page
    std::string logLevel = "info";
};

struct VerifyOptions
{
    std::filesystem::path dataFolder;
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
};

/** At most one command is set. Without a command only help or an error was printed. */
struct CommandLine
{
    std::optional<ServeOptions> serve;
    std::optional<VerifyOptions> verify;
    std::optional<BackupOptions> backup;
    std::optional<RestoreOptions> restore;
    std::optional<ReadyOptions> ready;
    std::optional<ClockConfirmOptions> confirmClock;
    std::optional<TlsOptions> tls;
    int exitCode = 0;
};

/** Prints help and errors itself. */
CommandLine parseCommandLine(int argc, char** argv);

} // namespace kelvo
