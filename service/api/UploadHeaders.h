// The headers of the tus protocol.
#pragma once

#include "service/http/Request.h"
#include "service/http/Response.h"
#include "service/store/Records.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kelvo::api {

inline constexpr const char* tusVersion = "1.0.0";

/** The upload that a POST requests. */
struct UploadRequest
{
    std::string name;
    std::vector<store::Id> targets;
    long long lengthBytes = 0;
    std::string key; // empty: none
};

/** All functions below throw Problem. */

/** Throws precondition-failed with the service's version. */
void requireTusVersion(const http::Request& request);

/** Throws a problem if the name, the targets, the length or the key is not valid. */
UploadRequest readUploadRequest(const http::Request& request, long long maxUploadBytes);

long long readOffset(const http::Request& request);

/**
 * Throws unsupported-media-type if the body has another type than application/offset+octet-stream.
 */
void requireOffsetStream(const http::Request& request);

} // namespace kelvo::api
