// What the service's error answers mean to the SDK.
#pragma once

#include "base/Failure.h"
#include "http/HttpMessage.h"

namespace kesdk::impl {

// Not set for a response with a status below 400.
Failure FailureOf(const HttpResponse& response);

// The link's failure, or else the response's.
Failure FailureOf(const HttpOutcome& outcome);

} // namespace kesdk::impl
