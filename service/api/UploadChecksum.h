// The header Upload-Checksum: the digest of one part of an upload.
#pragma once

#include "service/api/Context.h"
#include "service/base/Checksum.h"
#include "service/http/Request.h"

#include <cstddef>
#include <functional>
#include <optional>

namespace kelvo::api {

/**
 * The checksum that the request promises for its body. Empty if it promises none. Throws Problem
 * (malformed-request) if the header is malformed or names another algorithm.
 */
std::optional<Checksum> checksumOf(const http::Request& request);

/**
 * Receives the body into a file without a name, checks it, then appends it to the upload. False if
 * the body was cut. Throws Problem (checksum-mismatch). The upload is unchanged in both cases.
 */
Async<bool> receiveChecked(Context& context, http::Request& request, Checksum& checksum,
                           content::Receiver& receiver);

/** Reads the next bytes, at most `mostBytes`. 0: there are no more bytes. */
using ReadNext = std::function<std::size_t(void* buffer, std::size_t mostBytes)>;

/** Appends all that `readNext` returns to the upload, in steps on the pool of the contents. */
Async<void> appendAll(Context& context, ReadNext readNext, content::Receiver& receiver);

} // namespace kelvo::api
