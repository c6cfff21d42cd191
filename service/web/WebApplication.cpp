#include "service/web/WebApplication.h"

#include "service/http/Coding.h"
#include "service/http/Problem.h"
#include "service/http/Ranges.h"

namespace kelvo::web {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

namespace {

constexpr std::string_view apiPath = "/kelvo-api/";

/** No inline script or style, no frame. Pictures of maps are blobs. */
std::string contentPolicy(const std::string& imageOrigin)
{
    return "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:" +
           (imageOrigin.empty() ? "" : " " + imageOrigin) +
           "; connect-src 'self'; worker-src 'self'; font-src 'self'; base-uri 'none';"
           " form-action 'self'; frame-ancestors 'none'";
}

struct Encoded
{
    const std::string& bytes;
    const char* coding; // null: none
};

Encoded choose(const WebFile& file, std::string_view accepted)
{
    if (!file.brotli.empty() && http::acceptsCoding(accepted, "br")) {
        return {file.brotli, "br"};
    }
    if (!file.gzip.empty() && http::acceptsCoding(accepted, "gzip")) {
        return {file.gzip, "gzip"};
    }
    return {file.plain, nullptr};
}

} // namespace

WebApplication::WebApplication(http::Application& api, WebFiles files,
                               const std::string& imageOrigin)
    : api_(api), files_(std::move(files)), contentPolicy_(contentPolicy(imageOrigin))
{}

Async<Response> WebApplication::handle(Request& request)
{
    if (request.head.path.starts_with(apiPath)) {
        co_return co_await api_.handle(request);
    }
    co_return file(request);
}

Response WebApplication::file(Request& request) const
{
    const WebFile* const file = files_.find(request.head.path);
    if (file == nullptr) {
        throw Problem(EProblem::NotFound, "This page does not exist.");
    }
    request.route = "page";
    if (request.head.method != "GET" && request.head.method != "HEAD") {
        throw Problem(EProblem::MethodNotAllowed, "A page can only be read.",
                      {{"Allow", "GET, HEAD"}});
    }
    Response response;
    response
        .with("Cache-Control",
              file->isImmutable ? "public, max-age=31536000, immutable" : "no-cache")
        .with("ETag", file->tag)
        .with("Vary", "Accept-Encoding");
    addSecurityHeaders(response);
    if (http::tagListMatches(request.header("If-None-Match"), file->tag, true)) {
        response.status = 304;
        return response;
    }
    const Encoded encoded = choose(*file, request.header("Accept-Encoding"));
    response.with("Content-Type", std::string(file->contentType));
    if (encoded.coding != nullptr) {
        response.with("Content-Encoding", encoded.coding);
    }
    response.body = encoded.bytes;
    return response;
}

void WebApplication::addSecurityHeaders(Response& response) const
{
    response.with("Content-Security-Policy", contentPolicy_)
        .with("Cross-Origin-Opener-Policy", "same-origin")
        .with("Cross-Origin-Resource-Policy", "same-origin")
        .with("Referrer-Policy", "no-referrer")
        .with("X-Content-Type-Options", "nosniff");
}

} // namespace kelvo::web
