#include "console/session/ExitStatus.h"

#include <cstdio>

namespace console {

int PrintError(const QString& text, int exitStatus)
{
    std::fprintf(stderr, "kelvo-console: %s\n", qUtf8Printable(text));
    return exitStatus;
}

} // namespace console
