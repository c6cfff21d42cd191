#include "hostimpl/TUserLogFile.h"

#include "files/Posix.h"
#include "framework/HostLog.h"
#include "host/TLocalTime.h"

#include <QtCore/QFile>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace {

bool NeedsEscape(QChar character)
{
    const ushort code = character.unicode();
    return code < 0x20 || (code >= 0x7f && code <= 0x9f) || code == 0x2028 || code == 0x2029 ||
           code == '\\';
}

QString Escaped(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (const QChar character : text) {
        if (!NeedsEscape(character)) {
            result += character;
            continue;
        }
        switch (character.unicode()) {
        case '\n':
            result += QStringLiteral("\\n");
            break;
        case '\r':
            result += QStringLiteral("\\r");
            break;
        case '\t':
            result += QStringLiteral("\\t");
            break;
        case '\\':
            result += QStringLiteral("\\\\");
            break;
        default:
            result += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        }
    }
    return result;
}

// Appends the whole line. On failure the file is cut back to its former size.
bool Append(int descriptor, const QByteArray& line)
{
    const std::optional<hostimpl::TFileStatus> before = hostimpl::StatusOf(descriptor);
    if (!before) {
        return false;
    }
    if (hostimpl::WriteAll(descriptor, line.constData(), static_cast<std::size_t>(line.size()))) {
        return true;
    }
    const int error = errno;
    if (::ftruncate(descriptor, before->sizeBytes) != 0) {
        qCWarning(lcHost, "A line of the user log is incomplete.");
    }
    errno = error;
    return false;
}

} // namespace

namespace hostimpl {

TUserLogFile::TUserLogFile(const QString& path, const TUserLogLimits& limits)
    : m_path(path), m_limits(limits)
{}

TUserLogFile::~TUserLogFile() = default;

void TUserLogFile::Write(int target, int category, int level, const QString& code,
                         const QString& message)
{
    const QString cut = message.size() > m_limits.messageChars
                            ? message.left(m_limits.messageChars) + QStringLiteral("...")
                            : message;
    const QString time = TLocalTime::currentDateTime().toUTC().toString(Qt::ISODateWithMs);
    const QByteArray line =
        QStringLiteral("%1 %2 %3 %4 ").arg(time).arg(target).arg(category).arg(level).toUtf8() +
        Escaped(code).toUtf8() + ' ' + Escaped(cut).toUtf8() + '\n';

    const QMutexLocker lock(&m_mutex);
    const QByteArray path = QFile::encodeName(m_path);
    const std::optional<TFileStatus> status = StatusOf(path.constData());
    if (status && status->sizeBytes > 0 &&
        status->sizeBytes + line.size() > m_limits.fileSizeBytes) {
        Rotate();
    }
    const TDescriptor file(
        ::open(path.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    if (!file.IsValid() || !Append(file.Get(), line)) {
        ReportFailure();
        return;
    }
    m_isFailing = false;
}

void TUserLogFile::Rotate()
{
    const auto nameOf = [this](int number) {
        return QFile::encodeName(number == 0 ? m_path : m_path + QStringLiteral(".%1").arg(number));
    };
    if (m_limits.files < 2) {
        ::unlink(nameOf(0).constData());
        return;
    }
    for (int number = m_limits.files - 1; number > 0; --number) {
        ::rename(nameOf(number - 1).constData(), nameOf(number).constData());
    }
}

// Warns once until writing succeeds again, so that a full disk does not fill the application's log.
void TUserLogFile::ReportFailure()
{
    if (!m_isFailing) {
        m_isFailing = true;
        qCWarning(lcHost, "The user log %s cannot be written: %s.", qUtf8Printable(m_path),
                  qUtf8Printable(qt_error_string(errno)));
    }
}

} // namespace hostimpl
