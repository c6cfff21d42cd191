// Writes the planned moves to the disk, so that the moves of a killed run can be undone.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <cstdint>

namespace hostimpl {

enum class EPlacement : std::uint8_t {
    eAdd,     // the name is free in the destination; a folder moves with its content
    eReplace, // a file of the name exists and is kept in "old", under the step's number
};

struct TPlacementStep
{
    EPlacement kind;
    QByteArray path; // relative to the destination, and to the staged folder; UTF-8
};

using TPlacementSteps = QVector<TPlacementStep>;

// A text file in the staging folder: one line for each step, and "end" in the last line. If a
// journal has no "end", no step was executed.
class TPlacementJournal
{
public:
    // `stagingFolder` is the open staging folder.
    explicit TPlacementJournal(int stagingFolder) : m_folder(stagingFolder) {}

    // The journal is on the disk when Write() returns. On failure returns false with errno set.
    bool Write(const TPlacementSteps& steps) const;
    // False if there is no complete journal.
    bool Read(TPlacementSteps& steps) const;
    // After the removal there is nothing to undo. On failure returns false with errno set.
    bool Remove() const;

private:
    int m_folder;
};

} // namespace hostimpl
