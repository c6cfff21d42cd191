#include "service/http/TaggedContent.h"

#include "service/http/Problem.h"

namespace kelvo::http {

namespace {

/**
 * With another tag in `If-Range`, the client has a part of another content. Only GET has ranges.
 */
RangeChoice rangeFor(const Request& request, const TaggedContent& content)
{
    const std::string_view condition = request.header("If-Range");
    const bool isOther = !condition.empty() && condition != content.tag;
    const bool isIgnored = isOther || request.head.method != "GET";
    return chooseRange(isIgnored ? std::string_view() : request.header("Range"), content.sizeBytes);
}

} // namespace

std::optional<RangeChoice> startContent(const Request& request, const TaggedContent& content,
                                        Response& response)
{
    response.with("ETag", content.tag).with("Cache-Control", "private, no-cache");
    if (tagListMatches(request.header("If-None-Match"), content.tag, true)) {
        response.status = 304;
        return std::nullopt;
    }
    const RangeChoice range = rangeFor(request, content);
    const std::string total = std::to_string(content.sizeBytes);
    if (range.kind == ERange::Unsatisfiable) {
        throw Problem(EProblem::RangeNotSatisfiable, "The range is outside of the file.",
                      {{"Content-Range", "bytes */" + total}});
    }
    response.with("Accept-Ranges", "bytes").with("X-Content-Type-Options", "nosniff");
    if (range.kind == ERange::Part) {
        response.status = 206;
        response.with("Content-Range", "bytes " + std::to_string(range.offset) + "-" +
                                           std::to_string(range.offset + range.length - 1) + "/" +
                                           total);
    }
    return range;
}

} // namespace kelvo::http
