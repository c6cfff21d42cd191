// The command line of the herd.
#pragma once

#include "tools/herd/Schedule.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace herd {

struct Options
{
    std::vector<std::string> servers; // HOST:PORT
    std::string caFile;
    std::string admin = "admin";
    std::string passwordFile; // of the administrator; empty: KELVO_HERD_PASSWORD
    std::uint32_t consoles = 100;
    std::uint32_t farms = 0; // 0: one for each 50 consoles
    std::chrono::seconds ramp{60};
    std::chrono::seconds duration{300}; // after the ramp
    std::chrono::seconds settle{60};
    std::chrono::seconds checks{300};
    std::chrono::seconds progress{10};
    std::uint64_t seed = 1;
    std::uint32_t readBack = 2000; // files
    std::uint64_t mostUploadBytes = 1 << 20;
    std::uint64_t linkBytesPerSecond = 0;
    Rates rates = defaultRates();
    std::string reportFile;
    bool cleans = false;
};

struct CommandLine
{
    std::optional<Options> options; // empty: exit with exitCode
    int exitCode = 0;
};

/** Prints help and errors itself. Throws nothing. */
CommandLine parseCommandLine(int argc, char** argv);

/**
 * The administrator's password: the first line of the file, or KELVO_HERD_PASSWORD. Throws
 * std::runtime_error with a sentence for the operator.
 */
std::string readPassword(const Options& options);

} // namespace herd
