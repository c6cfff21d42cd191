// The command groups. Each function adds its commands to the line. The chosen command sets the
// context's action.
#pragma once

#include "service/kelvoctl/CommandContext.h"

#include <CLI/CLI.hpp>

namespace kelvoctl {

void addAccountCommands(CLI::App& line, CommandContext& context); // login, logout, farm, user
void addListCommand(CLI::App& line, CommandContext& context);     // ls
void addUploadCommand(CLI::App& line, CommandContext& context);   // put
void addDownloadCommand(CLI::App& line, CommandContext& context); // get
void addBinCommands(CLI::App& line, CommandContext& context);     // rm, bin
void addConsoleCommands(CLI::App& line, CommandContext& context); // consoles, track
void addPersonCommands(CLI::App& line, CommandContext& context);  // passwd, session, mv
void addQuotaCommands(CLI::App& line, CommandContext& context);   // quota, farm usage, farm quota
void addAuditCommand(CLI::App& line, CommandContext& context);    // audit
void addWatchCommand(CLI::App& line, CommandContext& context);    // watch

} // namespace kelvoctl
