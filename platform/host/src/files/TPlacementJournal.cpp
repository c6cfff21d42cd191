#include "files/TPlacementJournal.h"

#include "files/Posix.h"

#include <QtCore/QFile>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char JOURNAL_NAME[] = "journal";
const char* const ADD_WORD = "add ";
const char* const REPLACE_WORD = "replace ";
const char* const END_WORD = "end";

} // namespace

namespace hostimpl {

bool TPlacementJournal::Write(const TPlacementSteps& steps) const
{
    QByteArray text;
    for (const TPlacementStep& step : steps) {
        // CheckArchiveName() refuses names with line breaks.
        text += (step.kind == EPlacement::eAdd ? ADD_WORD : REPLACE_WORD) + step.path + '\n';
    }
    text += END_WORD;
    text += '\n';
    TDescriptor file(::openat(m_folder, JOURNAL_NAME,
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file.IsValid() &&
           WriteAll(file.Get(), text.constData(), static_cast<std::size_t>(text.size())) &&
           ::fsync(file.Get()) == 0 && file.Close() && SyncFolder(m_folder);
}

bool TPlacementJournal::Read(TPlacementSteps& steps) const
{
    const TDescriptor descriptor(
        ::openat(m_folder, JOURNAL_NAME, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    QFile file;
    if (!descriptor.IsValid() || !file.open(descriptor.Get(), QIODevice::ReadOnly)) {
        return false;
    }
    QList<QByteArray> lines = file.readAll().split('\n');
    if (lines.size() < 2 || !lines.takeLast().isEmpty() || lines.takeLast() != END_WORD) {
        return false;
    }
    steps.clear();
    for (const QByteArray& line : qAsConst(lines)) {
        const bool isAdd = line.startsWith(ADD_WORD);
        if (!isAdd && !line.startsWith(REPLACE_WORD)) {
            return false;
        }
        steps.append(
            {isAdd ? EPlacement::eAdd : EPlacement::eReplace, line.mid(line.indexOf(' ') + 1)});
    }
    return true;
}

bool TPlacementJournal::Remove() const
{
    return (::unlinkat(m_folder, JOURNAL_NAME, 0) == 0 || errno == ENOENT) && SyncFolder(m_folder);
}

} // namespace hostimpl
