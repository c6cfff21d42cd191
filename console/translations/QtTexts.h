// Texts of Qt that the operator may see. They are the menu of an entry field, and why a library
// does not load or a file cannot be written. No file includes this header; it lets lupdate find the
// texts.
#pragma once

#include <QtCore/QtGlobal>

namespace console {

constexpr const char* qtTexts[] = {
    QT_TRANSLATE_NOOP("QLineEdit", "&Undo"),
    QT_TRANSLATE_NOOP("QLineEdit", "&Redo"),
    QT_TRANSLATE_NOOP("QLineEdit", "Cu&t"),
    QT_TRANSLATE_NOOP("QLineEdit", "&Copy"),
    QT_TRANSLATE_NOOP("QLineEdit", "&Paste"),
    QT_TRANSLATE_NOOP("QLineEdit", "Delete"),
    QT_TRANSLATE_NOOP("QLineEdit", "Select All"),
    QT_TRANSLATE_NOOP("QShortcut", "Ctrl"),
    QT_TRANSLATE_NOOP("QLibrary", "Cannot load library %1: %2"),
    QT_TRANSLATE_NOOP("QIODevice", "Permission denied"),
    QT_TRANSLATE_NOOP("QIODevice", "No space left on device"),
};

} // namespace console
