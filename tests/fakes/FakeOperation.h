// The operations of the SDK that the fake records, and the record of one call.
#pragma once

#include "kesdk/api/IEnterpriseConnection.h"

#include <cstdint>
#include <string>
#include <thread>

namespace fakes {

enum class FakeOperation : std::uint8_t {
    eLogin,
    eLogout,
    eIsLoggedIn,
    eGetLastErrors,
    eGetLastLoginErrors,
    eSubscribe,
    eUnsubscribe,
    eGetProjects,
    eGetProjectResources,
    eGetResourceWithContent,
    eGetCurrentUser,
    eCreateUserInbox,
    eUpload,
    eDownload,
    eDelete,
    eSendEnvironment,
    eMeasDeviceConnected,
    eMeasDeviceDisconnected,
    eReportPosition,
    eSetAbortCheck,
    eDestroy, // the connection's destructor
};

// The arguments of a call. Fields that the operation does not have are empty.
struct FakeCall
{
    FakeOperation operation = FakeOperation::eDestroy;
    std::wstring text;   // user name, project name or local path
    std::wstring secret; // password
    std::int64_t id = 0;
    kesdk::api::IEnterpriseConnection::TargetIds targets;
    const kesdk::api::ISubscriable* listener = nullptr;
    const void* reserved = nullptr;
    std::uint32_t reservedFlags = 0;
    std::thread::id thread; // of the call
};

} // namespace fakes
