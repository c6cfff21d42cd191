// Receives a request's body into an upload.
#pragma once

#include "service/base/WorkPool.h"
#include "service/content/UploadWriter.h"
#include "service/http/BodyReader.h"

namespace kelvo::api {

/**
 * Receives while the pool writes and digests earlier bytes. The pool writes all received bytes at
 * once, however few: a killed service loses only bytes that the disk had no time for. Holds at most
 * 512 KiB. Returns true if the whole body was received, false if the peer left or stalled; the
 * received bytes are written in both cases. Throws the exceptions of UploadWriter.
 */
Async<bool> receiveBody(http::BodyReader& body, content::UploadWriter& writer, WorkPool& pool);

} // namespace kelvo::api
