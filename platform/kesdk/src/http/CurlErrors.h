// What libcurl's error codes mean to the SDK.
#pragma once

#include "base/Failure.h"

#include <curl/curl.h>

#include <string_view>

namespace kesdk::impl {

// What libcurl says beside its code.
struct CurlFacts
{
    long verifyResult = 0;     // the TLS library's word on the peer's certificate
    long osError = 0;          // errno of a connection that could not be made
    std::string_view text{};   // libcurl's own words, perhaps none
    bool isClockWrong = false; // the console's, so that no certificate looks valid to it
};

Failure TranslateCurlError(CURLcode code, const CurlFacts& facts);

} // namespace kesdk::impl
