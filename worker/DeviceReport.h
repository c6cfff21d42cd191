// What the console tells the service of itself and its session.
#pragma once

namespace kesdk::api {
class IEnterpriseConnection;
}

// Ends the SDK's session; the SDK's result. Worker thread; blocks at most as long as the SDK's
// logout does.
bool TestProcLogout(kesdk::api::IEnterpriseConnection* connection);
