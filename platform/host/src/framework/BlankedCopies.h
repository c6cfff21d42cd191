// Keeps passwords out of the copies of the configuration's file that the host leaves beside it.
#pragma once

#include <QtCore/QString>

namespace hostimpl {

// Overwrites, in place, what a file that may be torn says of the items that are to be sealed. All
// else stays byte for byte. False with errno set.
bool BlankSealedItems(const QString& path);

// The same for what earlier runs left of the configuration at `path`: files put aside, and those
// that a run was writing when it was killed. Returns what went wrong, or an empty text.
QString BlankCopies(const QString& path);

} // namespace hostimpl
