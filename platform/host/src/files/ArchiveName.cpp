#include "files/ArchiveName.h"

#include "files/TStagingFolder.h"

#include <QtCore/QTextCodec>

#include <algorithm>

namespace {

constexpr int LONGEST_DISPLAY_NAME = 80;

bool IsUtf8(const QByteArray& text)
{
    QTextCodec::ConverterState state(QTextCodec::ConvertInvalidToNull);
    QTextCodec::codecForMib(106)->toUnicode(text.constData(), text.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

QByteArray ToUtf8(const QByteArray& name)
{
    if (IsUtf8(name)) {
        return name;
    }
    const QTextCodec* const windows = QTextCodec::codecForName("IBM850");
    return windows != nullptr ? windows->toUnicode(name).toUtf8() : QByteArray();
}

bool HasControlCharacter(const QByteArray& text)
{
    return std::any_of(text.begin(), text.end(), [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return code < 0x20 || code == 0x7f;
    });
}

bool IsAbsolute(const QByteArray& path)
{
    const bool hasDrive =
        path.size() >= 2 && path[1] == ':' &&
        ((path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z'));
    return path.startsWith('/') || hasDrive;
}

QString Refusal(const char* reason, const QByteArray& name)
{
    return QStringLiteral("The archive is refused: the name of its entry \"%1\" %2.")
        .arg(hostimpl::DisplayName(name), QLatin1String(reason));
}

} // namespace

namespace hostimpl {

TArchiveName CheckArchiveName(const QByteArray& name, const TUnpackLimits& limits)
{
    const auto refuse = [&name](const char* reason) {
        return TArchiveName{{}, Refusal(reason, name)};
    };
    QByteArray path = ToUtf8(name);
    path.replace('\\', '/');
    if (path.isEmpty()) {
        return refuse("is empty");
    }
    if (HasControlCharacter(path)) {
        return refuse("has control characters");
    }
    if (IsAbsolute(path)) {
        return refuse("is absolute");
    }
    QList<QByteArray> parts = path.split('/');
    parts.erase(
        std::remove_if(parts.begin(), parts.end(),
                       [](const QByteArray& part) { return part.isEmpty() || part == "."; }),
        parts.end());
    for (const QByteArray& part : qAsConst(parts)) {
        if (part == "..") {
            return refuse("leads out of the folder");
        }
        if (part.size() > limits.nameBytes) {
            return refuse("is too long");
        }
    }
    if (!parts.isEmpty() && parts.first() == STAGING_NAME) {
        return refuse("is reserved");
    }
    const QByteArray joined = parts.join('/');
    if (joined.size() > limits.pathBytes || parts.size() > limits.depth) {
        return refuse("is too long");
    }
    return {joined, {}};
}

QString DisplayName(const QByteArray& name)
{
    QString text = QString::fromUtf8(name);
    std::replace_if(
        text.begin(), text.end(), [](QChar character) { return !character.isPrint(); },
        QChar(QChar::ReplacementCharacter));
    return text.size() > LONGEST_DISPLAY_NAME ? text.left(LONGEST_DISPLAY_NAME) + QChar(0x2026)
                                              : text;
}

} // namespace hostimpl
