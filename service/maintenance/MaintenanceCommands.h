// The commands of an operator, with what they print and their exit codes.
#pragma once

#include "service/CommandLine.h"

namespace kelvo::maintenance {

/** 0: all is well. 1: something is damaged; a line on stdout for each. Throws StartRefused, and
 * std::exception for what failed. */
int runVerify(const VerifyOptions& options);
int runBackup(const BackupOptions& options);
int runRestore(const RestoreOptions& options);

} // namespace kelvo::maintenance
