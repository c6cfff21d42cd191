// Chooses the folder of an archive.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include <functional>

namespace hostimpl {

// The archive's name without ".zip" in any case. A single folder of this name inside the archive is
// not repeated inside the archive's folder.
QByteArray StemOf(const QByteArray& archiveName);

// Different archive names give different folder names:
//
// - "field.zip" gets the folder "field".
// - In three cases the folder has the archive's whole name: "field.ZIP" with another spelling of
//   the suffix, "field.ZIP.zip" with two suffixes, and ".zip" whose rest cannot name a folder.
QByteArray FolderNameOf(const QByteArray& archiveName);

// The folder for an archive below a destination that has the entries `names`, without a file that
// has the archive's name. A file system that
// ignores case finds the folder "field" under the name "Field" too: `exists` is true, but `names`
// has another spelling. Then "Field.zip" gets the folder "Field.zip", and keeps it. Returns an
// empty name if that folder belongs to another archive too.
QByteArray ChooseFolderName(const QByteArray& archiveName, const QVector<QByteArray>& names,
                            const std::function<bool(const QByteArray& name)>& exists);

} // namespace hostimpl
