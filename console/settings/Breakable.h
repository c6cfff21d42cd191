// Texts with long words, such as paths, that must fit a narrow screen.
#pragma once

#include <QtCore/QString>

namespace console {

// The text with invisible characters, at which a long word may continue in the next line.
QString Breakable(QString text);

// The text without these characters.
QString WithoutBreaks(QString text);

} // namespace console
