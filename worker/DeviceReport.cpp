// Forwards the console's reports to the SDK.
#include "worker/DeviceReport.h"

#include "kesdk/api/IEnterpriseConnection.h"

bool TestProcLogout(kesdk::api::IEnterpriseConnection* connection)
{
    return connection->Logout();
}
