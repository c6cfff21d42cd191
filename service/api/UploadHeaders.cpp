#include "service/api/UploadHeaders.h"

#include "service/api/Documents.h"
#include "service/api/TusMetadata.h"
#include "service/base/Encoding.h"
#include "service/http/Problem.h"
#include "service/store/UploadTable.h"

#include <algorithm>
#include <limits>
#include <set>

namespace kelvo::api {

using http::EProblem;
using http::Problem;

namespace {

constexpr std::size_t longestKey = 100;
constexpr std::size_t maxTargets = 1000;

std::uint64_t requireNumber(const http::Request& request, const char* header)
{
    const auto number = parseNumber(request.header(header));
    if (!number || *number > static_cast<std::uint64_t>(std::numeric_limits<long long>::max())) {
        throw Problem(EProblem::MalformedRequest,
                      std::string("The header ") + header + " must be a number.");
    }
    return *number;
}

std::string readKey(const http::Request& request)
{
    const std::string key(request.header("Idempotency-Key"));
    const bool printable =
        std::all_of(key.begin(), key.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
    if (key.size() > longestKey || !printable) {
        throw Problem(EProblem::MalformedRequest,
                      "An Idempotency-Key has at most 100 printable characters.");
    }
    return key;
}

std::vector<store::Id> readTargets(const std::string& text)
{
    const auto targets = store::splitIds(text);
    if (!targets || targets->size() > maxTargets) {
        throw Problem(EProblem::Unprocessable, "The targets must be a list of inbox ids.");
    }
    if (std::set(targets->begin(), targets->end()).size() != targets->size()) {
        throw Problem(EProblem::Unprocessable, "A target occurs twice.");
    }
    return *targets;
}

} // namespace

void requireTusVersion(const http::Request& request)
{
    if (request.header("Tus-Resumable") != tusVersion) {
        throw Problem(EProblem::PreconditionFailed, "This service supports tus 1.0.0 only.",
                      {{"Tus-Version", tusVersion}});
    }
}

UploadRequest readUploadRequest(const http::Request& request, long long maxUploadBytes)
{
    UploadRequest wanted;
    wanted.key = readKey(request);
    const std::uint64_t length = requireNumber(request, "Upload-Length");
    if (length > static_cast<std::uint64_t>(maxUploadBytes)) {
        throw Problem(EProblem::ContentTooLarge, "The file is larger than this service allows.");
    }
    wanted.lengthBytes = static_cast<long long>(length);
    const auto metadata = parseMetadata(request.header("Upload-Metadata"));
    if (!metadata) {
        throw Problem(EProblem::MalformedRequest, "The header Upload-Metadata is malformed.");
    }
    const auto name = metadata->find("name");
    const auto targets = metadata->find("targets");
    if (name == metadata->end() || !isFileName(name->second)) {
        throw Problem(EProblem::Unprocessable, "The file's name is not valid.");
    }
    wanted.name = name->second;
    wanted.targets = readTargets(targets == metadata->end() ? std::string() : targets->second);
    if (request.body.lengthBytes() > length) {
        throw Problem(EProblem::ContentTooLarge, "The body is longer than Upload-Length says.");
    }
    return wanted;
}

long long readOffset(const http::Request& request)
{
    return static_cast<long long>(requireNumber(request, "Upload-Offset"));
}

void requireOffsetStream(const http::Request& request)
{
    if (request.header("Content-Type") != "application/offset+octet-stream") {
        throw Problem(EProblem::UnsupportedMediaType,
                      "The body must be application/offset+octet-stream.");
    }
}

} // namespace kelvo::api
