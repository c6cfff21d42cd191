#include "service/api/UploadHeaders.h"

#include "service/api/Documents.h"
#include "service/api/TusMetadata.h"
#include "service/base/Digest.h"
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

long long limitedLength(const http::Request& request, long long maxUploadBytes)
{
    const std::uint64_t length = requireNumber(request, "Upload-Length");
    if (length > static_cast<std::uint64_t>(maxUploadBytes)) {
        throw Problem(EProblem::ContentTooLarge, "The file is larger than this service allows.");
    }
    return static_cast<long long>(length);
}

long long readLength(const http::Request& request, long long maxUploadBytes)
{
    const std::string_view deferred = request.header("Upload-Defer-Length");
    const bool hasLength = !request.header("Upload-Length").empty();
    if (!deferred.empty() && (deferred != "1" || hasLength)) {
        throw Problem(EProblem::MalformedRequest,
                      "Upload-Defer-Length must be 1, and Upload-Length must be absent then.");
    }
    if (!deferred.empty()) {
        return store::unknownLength;
    }
    const long long length = limitedLength(request, maxUploadBytes);
    if (request.body.lengthBytes().value_or(0) > static_cast<std::uint64_t>(length)) {
        throw Problem(EProblem::ContentTooLarge, "The body is longer than Upload-Length says.");
    }
    return length;
}

void readMetadata(UploadRequest& wanted)
{
    const auto metadata = parseMetadata(wanted.metadata);
    if (!metadata) {
        throw Problem(EProblem::MalformedRequest, "The header Upload-Metadata is malformed.");
    }
    auto name = metadata->find("name");
    if (name == metadata->end()) {
        name = metadata->find("filename"); // the usual name of many clients
    }
    if (name == metadata->end() || !isFileName(name->second)) {
        throw Problem(EProblem::Unprocessable, "The file's name is not valid.");
    }
    wanted.name = name->second;
    if (!isNote(valueOf(*metadata, "note"))) {
        throw Problem(EProblem::Unprocessable, "A note has at most 200 printable characters.");
    }
    wanted.targets = readTargets(valueOf(*metadata, "targets"));
}

/** The id in an upload's URL: whole, or without scheme and host. */
std::string uploadIdOf(std::string_view url)
{
    const std::string_view id = url.substr(url.rfind('/') + 1);
    const bool isId = std::all_of(id.begin(), id.end(), [](char c) { return hexValue(c) >= 0; });
    if (id.empty() || !isId) {
        throw Problem(EProblem::MalformedRequest, "Upload-Concat names no upload.");
    }
    return std::string(id);
}

void readConcat(const http::Request& request, UploadRequest& wanted)
{
    static constexpr std::string_view finalMark = "final;";
    const std::string_view header = trimmed(request.header("Upload-Concat"));
    if (header.empty() || equalsIgnoringCase(header, store::partialUpload)) {
        wanted.concat = header.empty() ? "" : store::partialUpload;
        return;
    }
    if (!equalsIgnoringCase(header.substr(0, finalMark.size()), finalMark)) {
        throw Problem(EProblem::MalformedRequest, "Upload-Concat must be partial or final.");
    }
    wanted.concat = header;
    wanted.parts = partsOf(header);
    if (wanted.parts.empty()) {
        throw Problem(EProblem::MalformedRequest, "Upload-Concat names no upload.");
    }
}

/** A final upload gets its length and its bytes from its parts. */
void requireNoBytes(const http::Request& request)
{
    if (request.body.isPresent() || !request.header("Upload-Length").empty() ||
        !request.header("Upload-Defer-Length").empty()) {
        throw Problem(EProblem::MalformedRequest, "A final upload has neither body nor length.");
    }
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
    wanted.metadata = request.header("Upload-Metadata");
    readConcat(request, wanted);
    if (wanted.isFinal()) {
        requireNoBytes(request);
    } else {
        wanted.lengthBytes = readLength(request, maxUploadBytes);
    }
    if (wanted.concat != store::partialUpload) {
        readMetadata(wanted);
    }
    if (wanted.isFinal() && wanted.key.empty()) {
        wanted.key = "final:" + sha256Hex(wanted.concat + "\n" + wanted.metadata);
    }
    return wanted;
}

std::string noteIn(const std::string& metadata)
{
    const auto members = parseMetadata(metadata);
    std::string note = members ? valueOf(*members, "note") : std::string();
    return isNote(note) ? note : std::string();
}

std::vector<std::string> partsOf(std::string_view concat)
{
    std::vector<std::string> parts;
    std::string_view urls = concat.substr(std::min(concat.find(';') + 1, concat.size()));
    while (!trimmed(urls).empty()) {
        urls = trimmed(urls);
        const std::size_t end = std::min(urls.find(' '), urls.size());
        parts.push_back(uploadIdOf(urls.substr(0, end)));
        urls = urls.substr(end);
    }
    return parts;
}

long long readOffset(const http::Request& request)
{
    return static_cast<long long>(requireNumber(request, "Upload-Offset"));
}

std::optional<long long> readLateLength(const http::Request& request, long long maxUploadBytes)
{
    if (request.header("Upload-Length").empty()) {
        return std::nullopt;
    }
    return limitedLength(request, maxUploadBytes);
}

void requireOffsetStream(const http::Request& request)
{
    if (!equalsIgnoringCase(trimmed(request.header("Content-Type")),
                            "application/offset+octet-stream")) {
        throw Problem(EProblem::UnsupportedMediaType,
                      "The body must be application/offset+octet-stream.");
    }
}

} // namespace kelvo::api
