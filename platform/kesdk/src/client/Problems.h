// What the service's error answers mean to the SDK.
#pragma once

#include "base/Failure.h"
#include "http/HttpMessage.h"

namespace kesdk::impl {

// Not set for a good answer. A page or a redirect, which the service never sends, is
// eCaptivePortal, whatever its status claims of the session or of a file.
Failure FailureOf(const HttpResponse& response);

// The link's failure, or else the response's.
Failure FailureOf(const HttpOutcome& outcome);

} // namespace kesdk::impl
