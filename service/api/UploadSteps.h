// The steps of an upload: begin, receive, finish.
#pragma once

#include "service/api/Context.h"
#include "service/api/UploadHeaders.h"
#include "service/http/Request.h"
#include "service/http/Response.h"
#include "service/store/Records.h"

#include <string>
#include <vector>

namespace kelvo::api {

/** An unfinished upload is kept so long after its last part. */
inline constexpr long long uploadLifeMs = 7LL * 24 * 3600 * 1000;

/** What a POST leads to. */
struct Beginning
{
    store::Upload upload;
    bool isRepeat = false; // the idempotency key named an upload that is there already
};

/** A name for an upload that nobody can guess. */
std::string newUploadId();

/** Finds the upload of the same key or makes a new one with this id. Throws Problem. */
Async<Beginning> beginUpload(Context& context, const store::User& user, const UploadWish& wish,
                             const std::string& newId);

/** The caller's own upload. Throws not-found or gone. */
Async<store::Upload> findUpload(Context& context, const store::User& user, const std::string& id);

/** Where an upload stands after a request worked on it. */
struct Progress
{
    store::Upload upload;
    long long offset = 0;
    std::vector<store::File> newFiles; // what this very request made
};

/**
 * Takes the request's body as the part at `offset` and, when that was the last, finishes the
 * upload. Throws Problem, or PeerGone when the body was cut off (what arrived stays).
 */
Async<Progress> receivePart(Context& context, http::Request& request, store::Upload upload,
                            long long offset);

/** The same for an upload that this request holds already and knows the state of. */
Async<Progress> receiveHeldPart(Context& context, http::Request& request, store::Upload upload,
                                long long offset);

/** Drops an unfinished upload after the request that works on it has stopped. Throws Problem. */
Async<void> giveUpUpload(Context& context, http::Request& request, const store::Upload& upload);

/** How much of an unfinished upload is there, after other requests on it have been stopped. */
Async<Progress> currentProgress(Context& context, http::Request& request, store::Upload upload);

struct FinishedUpload
{
    store::Upload upload;
    std::vector<store::File> files;
};

/**
 * Makes the received bytes a content and the upload its files, all or none: synced file, renamed,
 * folder synced, then files and events in one transaction.
 */
Async<FinishedUpload> finishUpload(Context& context, store::Upload upload,
                                   content::UploadWriter& writer);

/** The result's headers, for a finished upload. */
void addResultHeaders(http::Response& response, const store::Upload& upload);

/** The result's body, for a finished upload. */
Async<http::Response> resultDocument(Context& context, const Progress& progress, unsigned status);

} // namespace kelvo::api
