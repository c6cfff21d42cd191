// Puts an unpacked folder into its place in the destination.
#pragma once

#include <QtCore/QByteArray>

namespace hostimpl {

// `staging` and `destination` are open folders of one file system; `staged` is a path below
// `staging`. All functions return false with errno set on failure.

// Exchanges the folder `staged` with the folder `name` of the destination. On failure nothing has
// changed. If the file system cannot exchange folders in one step, the old folder first moves
// aside. If the process is killed then, PutBack() moves the old folder back.
bool Exchange(int staging, const QByteArray& staged, int destination, const QByteArray& name);

// Moves the folder `staged` to a name that is free in the destination.
bool MoveToFreeName(int staging, const QByteArray& staged, int destination, const QByteArray& name);

// Undoes a half exchange of a killed run. A repeat is safe.
bool PutBack(int staging, int destination);

} // namespace hostimpl
