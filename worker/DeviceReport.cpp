#include "worker/DeviceReport.h"

#include "host/TAppFeatures.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "net/TWirelessNetworkUtils.h"
#include "worker/SdkBoundary.h"

#include <QtNetwork/QNetworkInterface>

#include <array>
#include <string>

using kesdk::api::Environment;

namespace {

// Sizes of the service's fixed fields, in characters, with the terminator.
constexpr int HARDWARE_ADDRESS_SIZE = 20;
constexpr int CONSOLE_STRING_SIZE = 10;

template <int Size>
std::wstring CutTo(const QString& text)
{
    std::array<wchar_t, Size> buffer;
    QStringToTCHAR(text, buffer.data(), Size);
    return buffer.data();
}

// The address of the wired interface, also while it is down. If there is no wired interface, the
// address of the wireless interface.
std::wstring HardwareAddress(const TAppFeatures& features)
{
    QNetworkInterface interface = QNetworkInterface::interfaceFromName(
        features.GetConsoleCharacteristics().GetEthernetName());
    if (!interface.isValid()) {
        interface = QNetworkInterface::interfaceFromName(TWirelessNetworkUtils::GetWirelessName());
    }
    return CutTo<HARDWARE_ADDRESS_SIZE>(interface.isValid() ? interface.hardwareAddress()
                                                            : QString());
}

std::wstring ConsoleString(const TAppFeatures& features)
{
    return CutTo<CONSOLE_STRING_SIZE>(features.GetConsoleCharacteristics().GetConsoleString());
}

Environment::MeasDeviceReport ReceiverReport(const TAppFeatures& features,
                                             Environment::EDeviceState state)
{
    Environment::MeasDeviceReport report;
    report.timeStampMs = getPosixCurrentTime();
    fillTestMeasDeviceInfo(report.device, features);
    report.state = state;
    return report;
}

} // namespace

bool TestProcEnvironment(kesdk::api::IEnterpriseConnection* connection, const wchar_t* hostString,
                         const TAppFeatures& features)
{
    Environment environment;
    environment.timeStampMs = getPosixCurrentTime();

    Environment::MeasDeviceInfo& controller = environment.controller;
    controller.hardwareAddress = HardwareAddress(features);
    controller.consoleString = ConsoleString(features);
    controller.text4 = controller.consoleString;
    controller.deviceKind = L"Controller";

    Environment::ConsoleInfo& console = environment.console;
    console.consoleString = controller.consoleString;
    console.hostString = hostString;
    console.controllerHardwareAddress = controller.hardwareAddress;
    console.controllerText = controller.text2;
    console.controllerKind = controller.deviceKind;
    console.number5 = 4;

    return connection->SendEnvironment(environment);
}

void fillTestMeasDeviceInfo(Environment::MeasDeviceInfo& device, const TAppFeatures& features)
{
    device = Environment::MeasDeviceInfo();
    device.hardwareAddress = HardwareAddress(features);
    device.consoleString = ConsoleString(features);
    device.deviceKind = L"GPS Receiver";
}

bool TestProcMeasDeviceInfoConnect(kesdk::api::IEnterpriseConnection* connection,
                                   const TAppFeatures& features)
{
    return connection->MeasDeviceConnected(ReceiverReport(features, Environment::eConnected), true);
}

bool TestProcMeasDeviceInfoDisconnect(kesdk::api::IEnterpriseConnection* connection,
                                      const TAppFeatures& features)
{
    return connection->MeasDeviceDisconnected(ReceiverReport(features, Environment::eDisconnected),
                                              false) != 0;
}

bool TestProcLogout(kesdk::api::IEnterpriseConnection* connection)
{
    return connection->Logout();
}
