// Decides under which path an archive's entry is unpacked, or that it is not.
#pragma once

#include "hostimpl/Unpacking.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace hostimpl {

struct TArchiveName
{
    QByteArray path;   // UTF-8, parts separated by '/'; empty for the destination itself
    QString errorText; // why the entry is refused; empty if it is not
};

// `name` is the entry's as the archive has it.
//
// - '\' separates folders as '/' does: some Windows programs write it.
// - "." and empty parts are left out, as in "./a" or "a//b".
// - Refused are: an empty name, absolute ones, those with a drive letter, "..", control characters,
//   and what is longer or deeper than the limits.
// - A name that is not UTF-8 is read as code page 850, which is what Windows writes in such
//   archives. (A NUL ends the name before it gets here; what is left of it is held to the rules.)
// - The name of the folder that archives are unpacked in first is refused.
TArchiveName CheckArchiveName(const QByteArray& name, const TUnpackLimits& limits);

// For messages: readable in any case, and short.
QString DisplayName(const QByteArray& name);

} // namespace hostimpl
