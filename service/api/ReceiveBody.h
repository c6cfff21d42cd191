// Moves a request's body into an upload.
#pragma once

#include "service/base/WorkPool.h"
#include "service/content/UploadWriter.h"
#include "service/http/BodyReader.h"

namespace kelvo::api {

/**
 * Receives while the pool writes and digests what came before; two buffers are all it holds.
 * True when the whole body came, false when the peer left or stalled: what arrived is written.
 * Throws what content::UploadWriter throws.
 */
Async<bool> receiveBody(http::BodyReader& body, content::UploadWriter& writer, WorkPool& pool);

} // namespace kelvo::api
