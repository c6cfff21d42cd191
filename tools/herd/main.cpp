// kelvo-herd: simulated consoles by the thousand.
#include "tools/herd/Herd.h"

#include <sys/resource.h>

#include <csignal>
#include <cstddef>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr std::size_t otherFiles = 64;

/** Takes all descriptors that the system allows. Returns their number. */
std::size_t takeFiles()
{
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
        files.rlim_cur = files.rlim_max;
        setrlimit(RLIMIT_NOFILE, &files);
    }
    return static_cast<std::size_t>(files.rlim_cur);
}

/** The number of connections that may be open before short requests keep none. */
std::size_t connectionsFor(const herd::Options& options)
{
    const std::size_t files = takeFiles();
    const std::size_t streams = std::size_t{options.consoles} + options.farms;
    const std::size_t spare = streams / 8 + otherFiles; // requests at the same time
    if (files < streams + spare) {
        throw std::runtime_error(std::to_string(options.consoles) + " consoles need " +
                                 std::to_string(streams + spare) +
                                 " open files, and the limit is " + std::to_string(files) +
                                 ": raise it with ulimit -n.");
    }
    if (files < 2 * streams + otherFiles) {
        std::cerr << "kelvo-herd: only " << files << " open files: above " << files - spare
                  << " connections, a console closes its connection after each request\n";
    }
    return files - spare;
}

} // namespace

int main(int argc, char** argv)
{
    const herd::CommandLine commandLine = herd::parseCommandLine(argc, argv);
    if (!commandLine.options) {
        return commandLine.exitCode;
    }
    std::signal(SIGPIPE, SIG_IGN); // OpenSSL writes to closed connections
    try {
        const herd::Options& options = *commandLine.options;
        herd::Herd herd(options, herd::readPassword(options), connectionsFor(options));
        return herd.run(std::cout, std::cerr);
    } catch (const std::exception& error) {
        std::cerr << "kelvo-herd: " << error.what() << '\n';
        return static_cast<int>(herd::EExit::Refused);
    }
}
