// Answers with a content that has a tag: whole, in part, or not at all if the client has it.
#pragma once

#include "service/http/Ranges.h"
#include "service/http/Request.h"
#include "service/http/Response.h"

#include <optional>

namespace kelvo::http {

/** A content that stays the same while its tag does. */
struct TaggedContent
{
    std::uint64_t sizeBytes = 0;
    std::string tag; // strong, with quotes
};

/**
 * Sets the status and the headers of the answer by `If-None-Match`, `If-Range` and `Range`. Returns
 * the part to send, or nothing if the answer is 304. Throws Problem (range-not-satisfiable).
 */
std::optional<RangeChoice> startContent(const Request& request, const TaggedContent& content,
                                        Response& response);

} // namespace kelvo::http
