// The build sets KESDK_BUILD_TIME_S for this file alone.
#include "base/BuildTime.h"

#include "base/Clock.h"

namespace kesdk::impl {

std::int64_t BuildTimeS()
{
    return KESDK_BUILD_TIME_S / kDayS * kDayS;
}

} // namespace kesdk::impl
