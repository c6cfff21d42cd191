// The worker's view of the position.
#include "worker/TKelvoThreadObject.h"

void TKelvoThreadObject::OnGPSLost(bool isLost)
{
    m_gpsValid = !isLost;
}

// Nothing starts the location timer yet.
void TKelvoThreadObject::OnShareCurrentLocationWithKelvo() {}
