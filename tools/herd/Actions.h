// The actions of a console.
#pragma once

#include "tools/herd/Console.h"

namespace herd {

/** Throws GivenUp. */
Async<void> perform(Console& console, const PlannedAction& planned);

/** The report of a console's hardware after its login. */
Async<void> reportEnvironment(Console& console);

} // namespace herd
