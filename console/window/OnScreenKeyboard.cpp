#include "console/window/OnScreenKeyboard.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QLibrary>
#include <QtCore/QLibraryInfo>

namespace {

const char* const inputMethod = "qtvirtualkeyboard";

bool IsInstalled()
{
    return QFile::exists(QLibraryInfo::location(QLibraryInfo::PluginsPath) +
                         QStringLiteral("/platforminputcontexts/libqtvirtualkeyboardplugin.so"));
}

} // namespace

namespace console {

void PrepareKeyboard()
{
    if (IsInstalled() && qEnvironmentVariableIsEmpty("QT_IM_MODULE")) {
        qputenv("QT_IM_MODULE", inputMethod);
        // Without this variable the keyboard opens its own window. Without a compositor that window
        // covers the screen.
        qputenv("QT_VIRTUALKEYBOARD_DESKTOP_DISABLE", "1");
    }
}

QWidget* LoadKeyboard(QWidget* parent)
{
    if (qgetenv("QT_IM_MODULE") != inputMethod) {
        return nullptr;
    }
    QLibrary library(QCoreApplication::applicationDirPath() +
                     QStringLiteral("/../lib/libkelvo-keyboard.so"));
    library.setLoadHints(QLibrary::PreventUnloadHint);
    const auto make = reinterpret_cast<QWidget* (*)(QWidget*)>(library.resolve("MakeKeyboard"));
    return make == nullptr ? nullptr : make(parent);
}

} // namespace console
