// What the console tells the service of its equipment and its session.
#pragma once

#include "kesdk/api/Environment.h"

class TAppFeatures;

namespace kesdk::api {
class IEnterpriseConnection;
}

// All of them: worker thread; blocking as the SDK's operation is; the SDK's result, false on
// failure. Every report is gathered afresh from the console's characteristics and its network
// hardware; an unknown network interface leaves the hardware address empty.

// Reports the console and the host application.
bool TestProcEnvironment(kesdk::api::IEnterpriseConnection* connection, const wchar_t* hostString,
                         const TAppFeatures& features);

// Fills the record of the console's GPS receiver.
void fillTestMeasDeviceInfo(kesdk::api::Environment::MeasDeviceInfo& device,
                            const TAppFeatures& features);

// Registers the console's GPS receiver as a connected measuring device, and takes it off again.
bool TestProcMeasDeviceInfoConnect(kesdk::api::IEnterpriseConnection* connection,
                                   const TAppFeatures& features);
bool TestProcMeasDeviceInfoDisconnect(kesdk::api::IEnterpriseConnection* connection,
                                      const TAppFeatures& features);

// Ends the SDK's session.
bool TestProcLogout(kesdk::api::IEnterpriseConnection* connection);
