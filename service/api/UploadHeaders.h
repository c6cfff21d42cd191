// The headers of the tus protocol.
#pragma once

#include "service/http/Request.h"
#include "service/http/Response.h"
#include "service/store/Records.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvo::api {

inline constexpr const char* tusVersion = "1.0.0";

/** The upload that a POST requests. */
struct UploadRequest
{
    std::string name;               // empty for a partial upload
    std::vector<store::Id> targets; // empty for a partial upload
    long long lengthBytes = 0;      // or store::unknownLength; of a final upload not known here
    std::string key;                // empty: none
    std::string metadata;           // as sent
    std::string concat;             // as store::Upload::concat
    std::vector<std::string> parts; // the ids of the uploads that a final upload is made of

    bool isFinal() const { return !parts.empty(); }
};

/** All functions below throw Problem. */

/** Throws precondition-failed with the service's version. */
void requireTusVersion(const http::Request& request);

/**
 * Throws a problem if the name, the targets, the length, the key or Upload-Concat is not valid. If
 * a final upload has no key, its key is computed from its parts and its metadata, so that a repeat
 * makes no second file.
 */
UploadRequest readUploadRequest(const http::Request& request, long long maxUploadBytes);

/**
 * The sender's note in the Upload-Metadata of an upload. Empty if it is not valid: an earlier
 * version of the service did not check it.
 */
std::string noteIn(const std::string& metadata);

/** The ids in the Upload-Concat of a final upload, in its order. Throws malformed-request. */
std::vector<std::string> partsOf(std::string_view concat);

long long readOffset(const http::Request& request);

/** The length that a part names because the creation did not. Empty: the part names none. */
std::optional<long long> readLateLength(const http::Request& request, long long maxUploadBytes);

/**
 * Throws unsupported-media-type if the body has another type than application/offset+octet-stream.
 */
void requireOffsetStream(const http::Request& request);

} // namespace kelvo::api
