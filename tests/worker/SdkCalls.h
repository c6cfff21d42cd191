// The SDK's operations by name, for readable test failures.
#pragma once

#include "tests/fakes/FakeScript.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

// The names in the order of FakeOperation.
constexpr const char* SDK_OPERATION_NAMES[] = {
    "Login",
    "Logout",
    "IsLoggedIn",
    "GetLastErrors",
    "GetLastLoginErrors",
    "Subscribe",
    "Unsubscribe",
    "GetProjects",
    "GetProjectResources",
    "GetResourceWithContent",
    "GetCurrentUser",
    "CreateUserInbox",
    "Upload",
    "Download",
    "Delete",
    "SendEnvironment",
    "MeasDeviceConnected",
    "MeasDeviceDisconnected",
    "ReportPosition",
    "SetAbortCheck",
    "Destroy",
};
static_assert(sizeof(SDK_OPERATION_NAMES) / sizeof(SDK_OPERATION_NAMES[0]) ==
              static_cast<std::size_t>(fakes::FakeOperation::eDestroy) + 1);

inline QString NameOf(fakes::FakeOperation operation)
{
    return QString::fromLatin1(SDK_OPERATION_NAMES[static_cast<std::size_t>(operation)]);
}

// All calls of the SDK, in order.
inline QStringList SdkCalls(const fakes::FakeScript& script)
{
    QStringList names;
    for (const fakes::FakeCall& call : script.Calls()) {
        names << NameOf(call.operation);
    }
    return names;
}
