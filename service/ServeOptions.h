// The command `serve` and its options.
#pragma once

#include "service/ContentsPlace.h"
#include "service/DatabasePlace.h"
#include "service/accounts/Passwords.h"
#include "service/api/AnswerFiles.h"
#include "service/api/BaseMap.h"
#include "service/api/TransferMemory.h"
#include "service/store/QuotaTable.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kelvo {

/** The options of the service. */
struct ServeOptions
{
    std::filesystem::path dataFolder;
    DatabasePlace database;
    ContentsPlace contents;
    std::string listen;
    std::string metricsListen = "127.0.0.1:9443";
    std::filesystem::path
        certificate; // with `key`: the user's certificate; empty: the service's own
    std::filesystem::path key;
    std::vector<std::string> names; // more names for the service's own certificate
    long long maxUploadBytes = 8LL * 1024 * 1024 * 1024;
    long long reserveBytes = 64LL * 1024 * 1024;
    std::uint64_t answerBytes = api::AnswerFiles::defaultBytes;      // unsent, of all farms
    std::uint64_t transferBytes = api::TransferMemory::defaultBytes; // memory, with a bucket
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
    int drainSeconds = 0;
    std::filesystem::path webFolder; // the built page of the office; empty: no page
    api::BaseMapOptions baseMap;     // of the page
    std::string logLevel = "info";
};

/** Adds the command. If it is given, its options become `result`, which outlives the parsing. */
void addServe(CLI::App& app, std::optional<ServeOptions>& result);

} // namespace kelvo
