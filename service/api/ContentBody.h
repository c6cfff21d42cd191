// The bytes of a stored file for a reply, never ones that are known or found to be wrong.
#pragma once

#include "service/api/Context.h"
#include "service/http/Ranges.h"
#include "service/http/Response.h"
#include "service/store/Records.h"

namespace kelvo::api {

/**
 * Gives the reply its body: the range of the file's content. A small content is checked before
 * anything is sent, a large whole one while it is sent (its end is kept back when it is wrong), and
 * for a part of a large one the whole is read first, unless that was done not long ago. `bodiless`:
 * only the length matters. Throws Problem (internal) when the content is damaged; that and a cut
 * reply are logged and counted.
 */
Async<void> addContent(Context& context, const store::File& file, store::Id farm,
                       const http::RangeChoice& range, bool bodiless, http::Response& response);

} // namespace kelvo::api
