// Computes the path of an archive's entry, or refuses the entry.
#pragma once

#include "hostimpl/Unpacking.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace hostimpl {

struct TArchiveName
{
    QByteArray path;   // UTF-8, parts separated by '/'; empty for the destination itself
    QString errorText; // the reason of a refusal; empty for an accepted entry
};

// `name` is the entry's name in the archive.
//
// - '\' separates folders like '/', because some Windows programs write it.
// - "." and empty parts are left out, as in "./a" or "a//b".
// - An empty name is refused, and so are absolute names, drive letters, "..", control characters
//   and names beyond the limits on length and depth.
// - A name that is not UTF-8 is read as code page 850, which Windows writes in such archives. (The
//   reader ends a name at a NUL; the rules hold for the rest.)
// - The name of the staging folder is refused.
TArchiveName CheckArchiveName(const QByteArray& name, const TUnpackLimits& limits);

// The name for messages: printable and at most 80 characters.
QString DisplayName(const QByteArray& name);

} // namespace hostimpl
