// What the tus protocol says in headers.
#pragma once

#include "service/http/Request.h"
#include "service/http/Response.h"
#include "service/store/Records.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kelvo::api {

inline constexpr const char* tusVersion = "1.0.0";

/** What a POST wants to upload. */
struct UploadWish
{
    std::string name;
    std::vector<store::Id> targets;
    long long lengthBytes = 0;
    std::string key; // empty: none
};

/** All these throw Problem. */

/** precondition-failed, with the version we speak. */
void requireTusVersion(const http::Request& request);

/** Also checks that name, targets, length and key are acceptable. */
UploadWish readWish(const http::Request& request, long long maxUploadBytes);

long long readOffset(const http::Request& request);

/** unsupported-media-type unless the body, if there is one, is a part of a content. */
void requireOffsetStream(const http::Request& request);

} // namespace kelvo::api
