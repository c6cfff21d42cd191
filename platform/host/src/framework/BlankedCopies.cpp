#include "framework/BlankedCopies.h"

#include "files/Posix.h"
#include "framework/ConfigFile.h"
#include "framework/SealedItems.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using TRange = std::pair<int, int>; // offset of the first byte, offset behind the last byte

bool IsSpace(char character)
{
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

int AfterSpaces(const QByteArray& text, int at)
{
    while (at < text.size() && IsSpace(text.at(at))) {
        ++at;
    }
    return at;
}

// The end of the JSON value that begins at `at`, or the end of the text if the value is cut off.
int EndOfValue(const QByteArray& text, int at)
{
    int depth = 0;
    bool isInText = false;
    for (; at < text.size(); ++at) {
        const char character = text.at(at);
        if (isInText) {
            at += character == '\\' ? 1 : 0;
            isInText = character != '"';
        } else if (character == '"') {
            isInText = true;
        } else if (character == '{' || character == '[') {
            ++depth;
        } else if (character == '}' || character == ']') {
            if (--depth <= 0) {
                return depth < 0 ? at : at + 1;
            }
        } else if (character == ',' && depth == 0) {
            return at;
        }
    }
    return text.size();
}

std::vector<TRange> ValuesOf(const QByteArray& text, int itemKey)
{
    std::vector<TRange> ranges;
    const QByteArray name = '"' + QByteArray::number(itemKey) + '"';
    int at = text.indexOf(name);
    while (at >= 0) {
        int next = AfterSpaces(text, at + name.size());
        if (next < text.size() && text.at(next) == ':') {
            const int begin = AfterSpaces(text, next + 1);
            next = EndOfValue(text, begin);
            ranges.emplace_back(begin, next);
        }
        at = text.indexOf(name, next);
    }
    return ranges;
}

// Writes a number and spaces, so that a valid file stays valid.
bool Blank(int descriptor, const TRange& range)
{
    QByteArray blanks(range.second - range.first, ' ');
    if (blanks.isEmpty()) {
        return true;
    }
    blanks[0] = '0';
    return ::lseek(descriptor, range.first, SEEK_SET) == range.first &&
           hostimpl::WriteAll(descriptor, blanks.constData(),
                              static_cast<std::size_t>(blanks.size()));
}

} // namespace

namespace hostimpl {

bool BlankSealedItems(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        errno = EACCES;
        return false;
    }
    const QByteArray text = file.read(LARGEST_CONFIG_FILE_BYTES);
    std::vector<TRange> ranges;
    for (const int item : SEALED_ITEMS) {
        const std::vector<TRange> more = ValuesOf(text, item);
        ranges.insert(ranges.end(), more.begin(), more.end());
    }
    if (ranges.empty()) {
        return true;
    }
    const TDescriptor target(::open(QFile::encodeName(path).constData(), O_WRONLY | O_CLOEXEC));
    if (!target.IsValid()) {
        return false;
    }
    for (const TRange& range : ranges) {
        if (!Blank(target.Get(), range)) {
            return false;
        }
    }
    return ::fsync(target.Get()) == 0;
}

QString BlankCopies(const QString& path)
{
    const QFileInfo info(path);
    // The second alternative matches the temporary files of QSaveFile: six letters. A suffix of
    // small letters only is left out because a person may have chosen it ("backup").
    const QRegularExpression ours(
        QStringLiteral("^%1\\.(invalid-[1-9]|(?=[a-z]*[A-Z])[A-Za-z]{6})$")
            .arg(QRegularExpression::escape(info.fileName())));
    const QStringList names = info.absoluteDir().entryList(QDir::Files | QDir::Hidden);
    QString problem;
    for (const QString& name : names) {
        if (ours.match(name).hasMatch() && !BlankSealedItems(info.absoluteDir().filePath(name))) {
            problem = QStringLiteral("The old configuration %1 may hold a password and cannot be "
                                     "changed: %2.")
                          .arg(name, SystemError(errno));
        }
    }
    return problem;
}

} // namespace hostimpl
