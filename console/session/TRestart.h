// Runs the console's program anew in the same process.
#pragma once

#include <string>
#include <vector>

namespace console {

// Create it first in main(): it keeps the environment, which the console changes later.
//
// Thread: main.
class TRestart
{
public:
    // RunWindow() returns this status if the operator wants a new start. No process ends with it.
    static constexpr int wanted = -1;

    explicit TRestart(char** arguments);

    // If `exitStatus` is `wanted`, replaces the program by a new run with the same arguments and
    // environment. Call it when everything has ended. Otherwise, or if that fails, returns the exit
    // status of the process.
    int Run(int exitStatus) const;

private:
    char** const m_arguments;
    const std::vector<std::string> m_environment;
};

} // namespace console
