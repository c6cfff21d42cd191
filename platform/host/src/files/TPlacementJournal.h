// Notes on the disk what is about to be moved, so that a run that is killed can be undone.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <cstdint>

namespace hostimpl {

enum class EPlacement : std::uint8_t {
    eAdd,     // nothing of the name is in the destination; a folder moves with all that is in it
    eReplace, // a file of the name is there and is kept aside, under the step's number
};

struct TPlacementStep
{
    EPlacement kind;
    QByteArray path; // relative to the destination and to the staged folder alike; UTF-8
};

using TPlacementSteps = QVector<TPlacementStep>;

// A text file in the staging folder: a line a step and "end" in the last. One without its end was
// never acted on.
class TPlacementJournal
{
public:
    // `stagingFolder` is the open staging folder.
    explicit TPlacementJournal(int stagingFolder) : m_folder(stagingFolder) {}

    // On the disk when it returns. False with errno set.
    bool Write(const TPlacementSteps& steps) const;
    // False if there is no complete journal.
    bool Read(TPlacementSteps& steps) const;
    // From then on there is nothing to be undone. False with errno set.
    bool Remove() const;

private:
    int m_folder;
};

} // namespace hostimpl
