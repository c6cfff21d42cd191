// The SDK's state of the link and of the running transfer. For consoles: the plug-in cannot
// include this header.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace kesdkimpl {

enum class ESession : std::uint8_t {
    eNoConnection, // the plug-in has not created the SDK's connection, or has released it
    eLoggedOut,
    // The last login failed. If the console's clock was wrong, eLoggedOut follows when it is set.
    eLoginFailed,
    eSessionEnded, // the service ended the session
    eConnecting,   // a login is running
    eLoggedIn,
};

// Why the last attempt to reach the service failed.
enum class EProblem : std::uint8_t {
    eNone, // the service has answered since, or a login has begun since
    eNoNetwork,
    eNoAnswer,
    eNetworkWantsLogin,
    eClockWrong,
    eNotTrusted, // the certificate is not the service's
};

enum class EDirection : std::uint8_t { eUpload, eDownload };

enum class EPhase : std::uint8_t {
    eMoves,
    eWaits,    // no byte has moved for 3 s, or the next attempt has not begun
    eVerifies, // all bytes have moved; the SDK or the service checks them
};

struct Moment
{
    // By the console's clock at the time of the copy, seconds since 1970: if the clock is set, the
    // next copy has another value.
    std::int64_t wallS = 0;
    std::chrono::steady_clock::time_point steady;
};

struct TransferStatus
{
    EDirection direction = EDirection::eUpload;
    EPhase phase = EPhase::eMoves;
    std::string nameUtf8;
    // An upload's bytes count when the network has taken them. After a lost answer they may
    // decrease.
    std::int64_t doneBytes = 0;
    std::int64_t totalBytes = 0;
    // Mean of the last 10 s. Empty in the first 2 s, and while the phase is not eMoves.
    std::optional<std::int64_t> bytesPerSecond;
    // When the transfer is given up if no byte moves, as Moment::wallS.
    std::int64_t waitsUntilS = 0;
};

struct LinkStatus
{
    ESession session = ESession::eNoConnection;
    EProblem problem = EProblem::eNone;
    // The first failure since the last contact and since the last login began; empty without a
    // problem.
    std::optional<Moment> offlineSince;
    std::optional<Moment> lastContact; // bytes or an answer of the service
    // The time of the last event or heartbeat. The file lists were current then.
    std::optional<Moment> listsCurrentAt;
    std::optional<TransferStatus> transfer;
    // By the time that the service has told, the console's clock is more than a day off. The
    // service answers, but it refuses positions and reports whose times are more than a day ahead.
    bool isClockOff = false;
};

// The status of the connection that was created last. Thread safety: safe. Copies the status and
// never waits for the network.
#if defined(KESDK_BUILDING_LIBRARY)
__attribute__((visibility("default")))
#endif
LinkStatus
ReadLinkStatus();

} // namespace kesdkimpl
