// Reports of the console's equipment and session to the service.
#pragma once

#include "kesdk/api/Environment.h"

class TAppFeatures;

namespace kesdk::api {
class IEnterpriseConnection;
}

// All functions run on the worker's thread and block as long as the SDK's operation. They return
// the SDK's result, false on failure. Each report is read anew from the console's characteristics
// and its network hardware. If no network interface is known, the hardware address is empty.

// Reports the console and the host application.
bool TestProcEnvironment(kesdk::api::IEnterpriseConnection* connection, const wchar_t* hostString,
                         const TAppFeatures& features);

// Fills the record of the console's GPS receiver.
void fillTestMeasDeviceInfo(kesdk::api::Environment::MeasDeviceInfo& device,
                            const TAppFeatures& features);

// Register the console's GPS receiver as a connected measuring device, and remove it again.
bool TestProcMeasDeviceInfoConnect(kesdk::api::IEnterpriseConnection* connection,
                                   const TAppFeatures& features);
bool TestProcMeasDeviceInfoDisconnect(kesdk::api::IEnterpriseConnection* connection,
                                      const TAppFeatures& features);

// Ends the SDK's session.
bool TestProcLogout(kesdk::api::IEnterpriseConnection* connection);
