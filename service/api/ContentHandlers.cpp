// GET /resources/{id}/content: a file's bytes, whole or in part.
#include "service/api/Access.h"
#include "service/api/ContentBody.h"
#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/base/Digest.h"
#include "service/base/Encoding.h"
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "service/http/TaggedContent.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"

namespace kelvo::api {

namespace {

using http::EProblem;
using http::Problem;
using http::Request;
using http::Response;

Async<store::File> findFile(Context& context, const store::User& user, store::Id id)
{
    auto query = [&user, id](soci::session& sql) {
        const auto file = store::fileById(sql, user.farmId(), id);
        const auto inbox = file ? store::inboxById(sql, user.farmId(), file->inbox) : std::nullopt;
        if (!inbox || !mayUse(user, *inbox)) {
            throw Problem(EProblem::NotFound, "No file has this id.");
        }
        return *file;
    };
    co_return co_await context.database.read(query);
}

void refuseUnlessWanted(const Request& request, const store::File& file)
{
    const std::string_view wanted = request.header("If-Match");
    if (!wanted.empty() && !http::tagListMatches(wanted, etagOf(file), false)) {
        throw Problem(EProblem::PreconditionFailed, "The file's content has another tag.");
    }
}

/** The name for a browser: in ASCII, then whole in the encoding of RFC 8187. */
std::string dispositionOf(const store::File& file)
{
    std::string plain = file.name;
    for (char& c : plain) {
        const bool isPlain = c >= 0x20 && c < 0x7F && c != '"' && c != '\\' && c != '%';
        c = isPlain ? c : '_';
    }
    return "attachment; filename=\"" + plain + "\"; filename*=UTF-8''" + percentEncode(file.name);
}

Async<Response> getContent(Context& context, Request& request)
{
    const store::User user = co_await requireFarmUser(context, request);
    const store::File file = co_await findFile(context, user, request.id());
    refuseUnlessWanted(request, file);
    Response response;
    const auto range = http::startContent(
        request, {static_cast<std::uint64_t>(file.sizeBytes), etagOf(file)}, response);
    if (!range) {
        co_return response;
    }
    response.with("Content-Type", "application/octet-stream")
        .with("Content-Disposition", dispositionOf(file))
        .with("Repr-Digest", reprDigest(file.sha256));
    co_await addContent(context, file, user.farmId(), *range, request.head.method == "HEAD",
                        response);
    co_return response;
}

} // namespace

void addContentRoutes(http::Router& router, Context& context)
{
    router.add("GET", "/resources/{id}/content",
               [&context](Request& r) { return getContent(context, r); });
}

} // namespace kelvo::api
