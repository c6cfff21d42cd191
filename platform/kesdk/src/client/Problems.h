// Translates the service's error answers into failures.
#pragma once

#include "base/Failure.h"
#include "http/HttpMessage.h"

namespace kesdk::impl {

// Not set for a good answer. The service never sends a page or a redirect: each of them is
// eCaptivePortal, with any status.
Failure FailureOf(const HttpResponse& response);

// The link's failure, or else the failure of the response.
Failure FailureOf(const HttpOutcome& outcome);

} // namespace kesdk::impl
