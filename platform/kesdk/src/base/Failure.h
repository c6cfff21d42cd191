// The cause of a failure. ErrorTexts turns it into a text for the operator.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace kesdk::impl {

// The value of CErrorMsg::code.
enum class EErrorCode : std::int32_t {
    eNone = 0,
    // Failures of the call itself
    eNotLoggedIn = 1,
    eAborted = 2,
    eInvalidArgument = 3,
    eInternal = 4,
    // Failures of the link
    eUnknownHost = 10,
    eRefused = 11,
    eUnreachable = 12,
    eConnectTimeout = 13,
    eTimeout = 14,
    eDropped = 15,
    eUnknownAuthority = 16,
    eCertificateExpired = 17,
    eCertificateNotYetValid = 18,
    eWrongHostName = 19,
    eTls = 20,
    eNoProgress = 21,
    eClockWrong = 22,
    eCaptivePortal = 23,
    // Failures that the service's answer tells
    eBadAnswer = 30,
    eInvalidCredentials = 31,
    eAccountDisabled = 32,
    eLoginThrottled = 33,
    eSessionEnded = 34,
    eForbidden = 35,
    eNotFound = 36,
    eFileGone = 37,
    eFolderGone = 38,
    eConflict = 39,
    eTooLarge = 40,
    eServiceFull = 41,
    eServiceBusy = 42,
    eServiceError = 43,
    eRefusedByService = 44,
    eCursorTooOld = 45,
    eRangeRefused = 46,
    // Failures with files on the console
    eFileMissing = 60,
    eFileUnreadable = 61,
    eNotAFile = 62,
    eFileChanged = 63,
    eUnusableServiceName = 64,
    eUnusableFileName = 65,
    eDiskFull = 66,
    eCannotWrite = 67,
    eDamaged = 68,
};

// A default-constructed Failure means success. `detail` is for support: technical, without
// credentials and tokens.
struct Failure
{
    EErrorCode code = EErrorCode::eNone;
    int httpStatus = 0;
    std::string detail;
    std::optional<std::chrono::seconds> retryAfter;

    Failure() = default;
    explicit Failure(EErrorCode errorCode, std::string technical = {}, int status = 0)
        : code(errorCode), httpStatus(status), detail(std::move(technical))
    {}

    bool IsSet() const { return code != EErrorCode::eNone; }
    // Whether it has one of these codes.
    template <class... Codes>
    bool Is(Codes... codes) const
    {
        return ((code == codes) || ...);
    }
    // The request never left the console.
    bool WasNeverSent() const
    {
        return Is(EErrorCode::eUnknownHost, EErrorCode::eRefused, EErrorCode::eUnreachable,
                  EErrorCode::eConnectTimeout);
    }
    // The same failure, where eNotFound has this more exact code.
    Failure NotFoundAs(EErrorCode exact) const
    {
        Failure failure = *this;
        failure.code = Is(EErrorCode::eNotFound) ? exact : code;
        return failure;
    }
};

// A value or a failure.
template <class T>
struct Result
{
    T value{};
    Failure failure;

    Result() = default;
    Result(T good) : value(std::move(good)) {}
    Result(Failure bad) : failure(std::move(bad)) {}

    explicit operator bool() const { return !failure.IsSet(); }
};

} // namespace kesdk::impl
