// The whole service: builds its parts, runs them and stops them.
#pragma once

#include "service/ServeOptions.h"

namespace kelvo {

/**
 * Runs until SIGTERM or SIGINT, then stops gracefully. Blocks; call it on the main thread. Errors:
 * StartRefused if it cannot start.
 */
void runService(const ServeOptions& options);

} // namespace kelvo
