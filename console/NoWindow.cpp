// Replaces console/window in a build without Qt Widgets.
#include "console/window/WindowRun.h"

#include <QtGui/QGuiApplication>

namespace console {

bool HasWindow()
{
    return false;
}

std::unique_ptr<QCoreApplication> MakeWindowApplication(int& argumentCount, char** arguments)
{
    return std::make_unique<QGuiApplication>(argumentCount, arguments);
}

int RunWindow(const TConsoleSettings&, const std::function<void(TWindowSession&)>&)
{
    return 1;
}

} // namespace console
