#include "http/ConsoleFacts.h"

#include "base/BuildTime.h"
#include "base/SystemClock.h"

#include <sys/socket.h>
#include <unistd.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <netinet/in.h>

namespace kesdk::impl {

namespace {

constexpr std::int64_t kLongestUseS =
    std::int64_t{15} * 365 * kDayS;       // for a console whose software is never updated
constexpr std::int64_t kSlowAnswerS = 60; // few answers take longer

// -1 if this process cannot express the time of the clock.
std::int64_t WallTimeS()
{
    timespec now{};
    return ::clock_gettime(CLOCK_REALTIME, &now) == 0 ? static_cast<std::int64_t>(now.tv_sec) : -1;
}

// The kernel refuses to bind to an address that the console does not have.
bool HasLostAddress(int socket)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return false;
    if (address.ss_family == AF_INET)
        reinterpret_cast<sockaddr_in*>(&address)->sin_port = 0;
    else if (address.ss_family == AF_INET6)
        reinterpret_cast<sockaddr_in6*>(&address)->sin6_port = 0;
    else
        return false;
    const int probe = ::socket(address.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return false;
    const bool isLost =
        ::bind(probe, reinterpret_cast<sockaddr*>(&address), length) != 0 && errno == EADDRNOTAVAIL;
    ::close(probe);
    return isLost;
}

} // namespace

ConsoleFacts RealConsoleFacts()
{
    return {&WallTimeS, &std::chrono::steady_clock::now, &TimeAsleep, &HasLostAddress};
}

bool IsClockWrong(std::int64_t wallTimeS, const std::optional<std::int64_t>& toldTimeS)
{
    const std::int64_t built = BuildTimeS();
    if (wallTimeS < built - kDayS || wallTimeS > built + kLongestUseS)
        return true;
    return toldTimeS && (wallTimeS < *toldTimeS - kDayS || wallTimeS > *toldTimeS + kDayS);
}

EConsoleClock JudgeClock(std::int64_t wallTimeS, const std::optional<std::int64_t>& toldTimeS)
{
    if (IsClockWrong(wallTimeS, toldTimeS))
        return EConsoleClock::eWrong;
    const bool isSame = toldTimeS && std::llabs(wallTimeS - *toldTimeS) <= kSlowAnswerS;
    return isSame ? EConsoleClock::eConfirmed : EConsoleClock::eUnknown;
}

} // namespace kesdk::impl
