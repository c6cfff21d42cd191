// The errors of the API, as RFC 9457 problem documents.
#pragma once

#include "service/http/Response.h"

#include <cstdint>
#include <exception>
#include <string>

namespace kelvo::http {

/** The problems of the API. Problem.cpp has the table of their names, statuses and titles. */
enum class EProblem : std::uint8_t {
    MalformedRequest,
    InvalidCredentials,
    Unauthenticated,
    AccountDisabled,
    Forbidden,
    NotFound,
    MethodNotAllowed,
    Conflict,
    UploadOffsetMismatch,
    Gone,
    CursorTooOld,
    PreconditionFailed,
    ContentTooLarge,
    UriTooLong,
    UnsupportedMediaType,
    RangeNotSatisfiable,
    Unprocessable,
    HeadersTooLarge,
    LoginThrottled,
    ChecksumMismatch,
    RateLimited,
    Internal,
    NotImplemented,
    Busy,
    VersionNotSupported,
    InsufficientStorage,
    QuotaExceeded,
};

/**
 * Thrown by a handler to refuse a request; the connection sends the document. `detail` is one
 * sentence for a person and holds no path, SQL or secret.
 */
class Problem : public std::exception
{
public:
    explicit Problem(EProblem kind, std::string detail = {}, HeaderList headers = {});

    const char* what() const noexcept override { return detail_.c_str(); }
    EProblem kind() const { return kind_; }
    unsigned status() const;

    Response toResponse() const;

private:
    EProblem kind_;
    std::string detail_;
    HeaderList headers_;
};

/** The peer left while its request was read, so no answer can be sent. */
class PeerGone : public std::exception
{
public:
    const char* what() const noexcept override { return "the peer closed the connection"; }
};

} // namespace kelvo::http
