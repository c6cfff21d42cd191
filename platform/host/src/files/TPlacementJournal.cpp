// Notes on the disk what is about to be moved, so that a run that is killed can be undone.
#include "files/TPlacementJournal.h"

#include "files/Posix.h"

#include <QtCore/QFile>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char journalName[] = "journal";
const char* const addWord = "add ";
const char* const replaceWord = "replace ";
const char* const endWord = "end";

} // namespace

namespace hostimpl {

bool TPlacementJournal::Write(const TPlacementSteps& steps) const
{
    QByteArray text;
    for (const TPlacementStep& step : steps) {
        // Names with line breaks never get here.
        text += (step.kind == EPlacement::eAdd ? addWord : replaceWord) + step.path + '\n';
    }
    text += endWord;
    text += '\n';
    TDescriptor file(::openat(m_folder, journalName,
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file.IsValid() &&
           WriteAll(file.Get(), text.constData(), static_cast<std::size_t>(text.size())) &&
           ::fsync(file.Get()) == 0 && file.Close() && SyncFolder(m_folder);
}

bool TPlacementJournal::Read(TPlacementSteps& steps) const
{
    const TDescriptor descriptor(
        ::openat(m_folder, journalName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    QFile file;
    if (!descriptor.IsValid() || !file.open(descriptor.Get(), QIODevice::ReadOnly)) {
        return false;
    }
    QList<QByteArray> lines = file.readAll().split('\n');
    if (lines.size() < 2 || !lines.takeLast().isEmpty() || lines.takeLast() != endWord) {
        return false;
    }
    steps.clear();
    for (const QByteArray& line : qAsConst(lines)) {
        const bool isAdd = line.startsWith(addWord);
        if (!isAdd && !line.startsWith(replaceWord)) {
            return false;
        }
        steps.append(
            {isAdd ? EPlacement::eAdd : EPlacement::eReplace, line.mid(line.indexOf(' ') + 1)});
    }
    return true;
}

bool TPlacementJournal::Remove() const
{
    return (::unlinkat(m_folder, journalName, 0) == 0 || errno == ENOENT) && SyncFolder(m_folder);
}

} // namespace hostimpl
