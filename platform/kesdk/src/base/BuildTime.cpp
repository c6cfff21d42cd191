// When this library was built. The build sets KESDK_BUILD_TIME_S for this file alone.
#include "base/BuildTime.h"

namespace kesdk::impl {

std::int64_t BuildTimeS()
{
    constexpr std::int64_t kDayS = 24 * 60 * 60;
    return KESDK_BUILD_TIME_S / kDayS * kDayS;
}

} // namespace kesdk::impl
