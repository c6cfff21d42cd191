// Translates the service's error answers into failures.
#pragma once

#include "base/Failure.h"
#include "http/HttpMessage.h"

namespace kesdk::impl {

// Not set for a good answer. The service never sends a page or a redirect. A redirect and status
// 511 are eCaptivePortal, and so is a page with a success or with 401, 403, 404, 410 or 412. A page
// with another status is a proxy's error: its status counts.
Failure FailureOf(const HttpResponse& response);

// The link's failure, or else the failure of the answer.
Failure FailureOf(const HttpOutcome& outcome);

} // namespace kesdk::impl
