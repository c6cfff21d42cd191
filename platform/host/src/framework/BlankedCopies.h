// Removes passwords from old copies of the configuration file.
#pragma once

#include <QtCore/QString>

namespace hostimpl {

// Overwrites the values of the items of SEALED_ITEMS in the file, in place. The file may be cut off
// or invalid. All other bytes stay as they are. On failure returns false with errno set.
bool BlankSealedItems(const QString& path);

// The same for the old copies of the configuration `path`: invalid files that were put aside, and
// temporary files of a run that was killed. Returns the problems, or an empty text.
QString BlankCopies(const QString& path);

} // namespace hostimpl
