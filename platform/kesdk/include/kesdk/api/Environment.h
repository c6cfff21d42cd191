// A console's reports: its equipment and its position.
#pragma once

#include <cstdint>
#include <string>

namespace kesdk::api {

struct Environment
{
    // A device on the console. The field order is part of the contract.
    struct MeasDeviceInfo
    {
        std::wstring hardwareAddress; // identifies the device; may be empty
        std::wstring text2;
        std::wstring consoleString;
        std::wstring text4;
        std::wstring deviceKind; // such as "GPS Receiver" or "Controller"
        std::wstring text6;
        std::wstring text7;
        std::int32_t number8 = 0;
    };

    enum EDeviceState : std::int32_t {
        eDisconnected = 0,
        eConnected = 1,
        eDeviceStateUnknown = 2,
    };

    // A device that was connected or disconnected.
    struct MeasDeviceReport
    {
        std::int64_t timeStampMs = 0; // since 1970-01-01 00:00 UTC
        MeasDeviceInfo device;
        std::int32_t state = eDeviceStateUnknown;
    };

    // The console itself. The field order is part of the contract.
    struct ConsoleInfo
    {
        std::wstring consoleString;
        std::wstring hostString;
        std::wstring controllerHardwareAddress;
        std::wstring controllerText;
        std::wstring controllerKind;
        std::wstring text6;
        std::int32_t number1 = 0;
        std::int32_t number2 = 0;
        std::int32_t number3 = 0;
        std::int32_t number4 = 0;
        std::int32_t number5 = 0;
    };

    std::int64_t timeStampMs = 0; // since 1970-01-01 00:00 UTC
    ConsoleInfo console;
    MeasDeviceInfo controller;
};

struct Position
{
    std::int32_t timeSeconds = 0; // of the fix, since 1970-01-01 00:00 UTC
    double latitudeDegrees = 0.0;
    double longitudeDegrees = 0.0;
};

} // namespace kesdk::api
