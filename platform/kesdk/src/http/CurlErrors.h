// Translates libcurl's error codes into failures.
#pragma once

#include "base/Failure.h"
#include "http/ConsoleFacts.h"

#include <curl/curl.h>

#include <string_view>

namespace kesdk::impl {

// Details beside libcurl's code.
struct CurlFacts
{
    long verifyResult = 0;   // OpenSSL's result for the peer's certificate
    long osError = 0;        // errno of a connection that could not be made
    std::string_view text{}; // libcurl's error text; may be empty
    EConsoleClock clock = EConsoleClock::eUnknown;
};

Failure TranslateCurlError(CURLcode code, const CurlFacts& facts);

} // namespace kesdk::impl
