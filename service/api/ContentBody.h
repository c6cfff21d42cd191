// The bytes of a stored file for an answer. A damaged content is never sent as a whole.
#pragma once

#include "service/api/Context.h"
#include "service/http/Ranges.h"
#include "service/http/Response.h"
#include "service/store/Records.h"

namespace kelvo::api {

/**
 * Sets the answer's body: the range of the file's content. A small content is checked before the
 * answer starts. A large whole content is checked while it is sent; if it is damaged, its end is
 * not sent. For a part of a large content the whole content is read first, unless it was checked in
 * the last hour. A store that checks all bytes itself is asked for the range only. `bodiless`: only
 * the length is needed. Throws Problem (internal) if the content is damaged. Damage and cut answers
 * are logged and counted.
 */
Async<void> addContent(Context& context, const store::File& file, store::Id farm,
                       const http::RangeChoice& range, bool bodiless, http::Response& response);

} // namespace kelvo::api
