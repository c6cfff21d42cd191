// The table of problems and their documents.
#include "service/http/Problem.h"

#include <nlohmann/json.hpp>

#include <array>

namespace kelvo::http {

namespace {

struct Row
{
    EProblem kind;
    unsigned status;
    const char* name;
    const char* title;
};

constexpr std::array rows{
    Row{EProblem::MalformedRequest, 400, "malformed-request", "The request is malformed"},
    Row{EProblem::InvalidCredentials, 401, "invalid-credentials", "Wrong user name or password"},
    Row{EProblem::Unauthenticated, 401, "unauthenticated", "Not logged in"},
    Row{EProblem::AccountDisabled, 403, "account-disabled", "The account is disabled"},
    Row{EProblem::Forbidden, 403, "forbidden", "Not allowed"},
    Row{EProblem::NotFound, 404, "not-found", "Not found"},
    Row{EProblem::MethodNotAllowed, 405, "method-not-allowed", "Method not allowed"},
    Row{EProblem::Conflict, 409, "conflict", "Conflict"},
    Row{EProblem::UploadOffsetMismatch, 409, "upload-offset-mismatch", "Upload offset mismatch"},
    Row{EProblem::Gone, 410, "gone", "Gone"},
    Row{EProblem::CursorTooOld, 410, "cursor-too-old", "The event cursor is too old"},
    Row{EProblem::PreconditionFailed, 412, "precondition-failed", "Precondition failed"},
    Row{EProblem::ContentTooLarge, 413, "content-too-large", "Content too large"},
    Row{EProblem::UriTooLong, 414, "uri-too-long", "The request's target is too long"},
    Row{EProblem::UnsupportedMediaType, 415, "unsupported-media-type", "Unsupported media type"},
    Row{EProblem::RangeNotSatisfiable, 416, "range-not-satisfiable", "Range not satisfiable"},
    Row{EProblem::Unprocessable, 422, "unprocessable", "The request's content is not valid"},
    Row{EProblem::HeadersTooLarge, 431, "headers-too-large", "The request's header is too large"},
    Row{EProblem::LoginThrottled, 429, "login-throttled", "Too many failed logins"},
    Row{EProblem::ChecksumMismatch, 460, "checksum-mismatch", "The checksum does not match"},
    Row{EProblem::RateLimited, 429, "rate-limited", "Too many requests"},
    Row{EProblem::Internal, 500, "internal", "Internal error"},
    Row{EProblem::NotImplemented, 501, "not-implemented", "The transfer coding is not supported"},
    Row{EProblem::Busy, 503, "busy", "The service is busy"},
    Row{EProblem::VersionNotSupported, 505, "version-not-supported",
        "The HTTP version is not supported"},
    Row{EProblem::InsufficientStorage, 507, "insufficient-storage", "Storage is full"},
    Row{EProblem::QuotaExceeded, 507, "quota-exceeded", "The quota is used up"},
};

const Row& rowOf(EProblem kind)
{
    return rows[static_cast<std::size_t>(kind)];
}

constexpr bool rowsAreInOrder()
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (static_cast<std::size_t>(rows[i].kind) != i) {
            return false;
        }
    }
    return true;
}
static_assert(rowsAreInOrder(), "rowOf() indexes the table by the enumeration");

} // namespace

Problem::Problem(EProblem kind, std::string detail, HeaderList headers)
    : kind_(kind), detail_(std::move(detail)), headers_(std::move(headers))
{
    if (kind_ == EProblem::Unauthenticated) {
        headers_.emplace_back("WWW-Authenticate", "Bearer");
    }
}

unsigned Problem::status() const
{
    return rowOf(kind_).status;
}

Response Problem::toResponse() const
{
    const Row& row = rowOf(kind_);
    nlohmann::ordered_json document{
        {"type", std::string("urn:kelvo:problem:") + row.name},
        {"title", row.title},
        {"status", row.status},
        {"detail", detail_.empty() ? row.title + std::string(".") : detail_}};
    Response response;
    response.status = row.status;
    response.headers = headers_;
    response.headers.emplace_back("Content-Type", "application/problem+json");
    response.headers.emplace_back("Cache-Control", "no-store");
    response.body = document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return response;
}

} // namespace kelvo::http
