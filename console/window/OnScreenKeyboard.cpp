// The on-screen keyboard, where one is installed.
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
        // Or it opens a window of its own, which covers the screen where nothing composes windows.
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
