#include "console/session/TRestart.h"

#include "console/session/ExitStatus.h"

#include <QtCore/QtGlobal>

#include <cerrno>

#include <unistd.h>

namespace {

std::vector<std::string> CopyEnvironment()
{
    std::vector<std::string> copy;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        copy.emplace_back(*variable);
    }
    return copy;
}

} // namespace

namespace console {

TRestart::TRestart(char** arguments) : m_arguments(arguments), m_environment(CopyEnvironment()) {}

int TRestart::Run(int exitStatus) const
{
    if (exitStatus != wanted) {
        return exitStatus;
    }
    std::vector<std::string> variables = m_environment;
    std::vector<char*> environment;
    environment.reserve(variables.size() + 1);
    for (std::string& variable : variables) {
        environment.push_back(variable.data());
    }
    environment.push_back(nullptr);
    ::execve("/proc/self/exe", m_arguments, environment.data());
    return PrintError(
        QStringLiteral("The console cannot start anew: %1.").arg(qt_error_string(errno)),
        eExitFailed);
}

} // namespace console
