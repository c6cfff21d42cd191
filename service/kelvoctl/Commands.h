// The command groups. Each adds its commands to the line; a command that is chosen sets
// Context::action.
#pragma once

#include "service/kelvoctl/Context.h"

#include <CLI/CLI.hpp>

namespace kelvoctl {

void addAccountCommands(CLI::App& line, Context& context); // login, logout, farm, user
void addListCommand(CLI::App& line, Context& context);     // ls
void addUploadCommand(CLI::App& line, Context& context);   // put
void addDownloadCommand(CLI::App& line, Context& context); // get
void addBinCommands(CLI::App& line, Context& context);     // rm, bin
void addConsoleCommands(CLI::App& line, Context& context); // consoles, track
void addWatchCommand(CLI::App& line, Context& context);    // watch

} // namespace kelvoctl
