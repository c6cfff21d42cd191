#include "console/settings/Breakable.h"

#include <QtCore/QRegularExpression>

namespace {

constexpr QChar breakMark(0x200b);

} // namespace

namespace console {

QString Breakable(QString text)
{
    // The end of a part of a path or a pattern, or else 30 characters.
    static const QRegularExpression partEnd(QStringLiteral("(\\S{0,29}?[/:\\[@]|\\S{30})(?=\\S)"));
    return text.replace(partEnd, QStringLiteral("\\1") + breakMark);
}

QString WithoutBreaks(QString text)
{
    return text.remove(breakMark);
}

} // namespace console
