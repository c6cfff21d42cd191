// What libcurl's error codes mean to the SDK.
#pragma once

#include "base/Failure.h"

#include <curl/curl.h>

namespace kesdk::impl {

// `verifyResult` is the TLS library's word on the peer's certificate, `errorText` libcurl's own.
Failure TranslateCurlError(CURLcode code, long verifyResult, const char* errorText);

} // namespace kesdk::impl
