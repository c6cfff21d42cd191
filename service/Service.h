// The whole service: builds its parts, runs them, takes them down.
#pragma once

#include "service/CommandLine.h"

namespace kelvo {

/**
 * Runs until SIGTERM or SIGINT and then stops gracefully. Blocks; call it on the main thread.
 * Errors: StartRefused when it cannot start.
 */
void runService(const ServeOptions& options);

} // namespace kelvo
