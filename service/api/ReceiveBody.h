// Moves a request's body into an upload.
#pragma once

#include "service/base/WorkPool.h"
#include "service/content/UploadWriter.h"
#include "service/http/BodyReader.h"

namespace kelvo::api {

/**
 * Receives while the pool writes and digests what came before. The pool writes at once what has
 * come, however little it is: a service that is killed loses only what the disk had no time for.
 * Holds 512 KiB at most.
 * True when the whole body came, false when the peer left or stalled: what arrived is written.
 * Throws what UploadWriter throws.
 */
Async<bool> receiveBody(http::BodyReader& body, content::UploadWriter& writer, WorkPool& pool);

} // namespace kelvo::api
