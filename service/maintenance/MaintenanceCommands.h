// The operator's commands, their output and their exit codes.
#pragma once

#include "service/CommandLine.h"

namespace kelvo::maintenance {

/**
 * Each returns 0 if all is well. It returns 1 if something is damaged, and prints a line for each
 * damage on stdout. Throws StartRefused, and std::exception if it failed.
 */
int runVerify(const VerifyOptions& options);
int runBackup(const BackupOptions& options);
int runRestore(const RestoreOptions& options);
int runMigrate(const MigrateOptions& options);

/**
 * Prints the answer of the running service to /readyz. Returns 1 if the service is not ready.
 * Throws StartRefused if it does not answer within ten seconds.
 */
int runReady(const ReadyOptions& options);

/** Leaves the machine's time in the data folder, for the service. */
int runClockConfirm(const ClockConfirmOptions& options);

/**
 * Shows the certificates, after making a new one if the options say so. Returns 1 if one of them
 * ends within 30 days.
 */
int runTls(const TlsOptions& options);

} // namespace kelvo::maintenance
