// The steps of an upload: start, receive, finish.
#pragma once

#include "service/api/Context.h"
#include "service/api/UploadHeaders.h"
#include "service/http/Request.h"
#include "service/http/Response.h"
#include "service/store/Records.h"

#include <string>
#include <vector>

namespace kelvo::api {

/** An unfinished upload expires this long after its last part. */
inline constexpr long long uploadLifeMs = 7LL * 24 * 3600 * 1000;

/** The result of a POST. */
struct StartedUpload
{
    store::Upload upload;
    bool isRepeat = false; // the idempotency key named an existing upload
};

/** Returns a random upload id that cannot be guessed. */
std::string newUploadId();

/**
 * Finds the upload with the same key, or adds a new upload with this id. With
 * EDurability::Later the new upload may be lost with the power until a durable commit follows.
 * Throws Problem.
 */
Async<StartedUpload> startUpload(Context& context, const store::User& user,
                                 const UploadRequest& wanted, const std::string& newId,
                                 store::EDurability durability);

/** Returns an upload of the caller. Throws not-found or gone. */
Async<store::Upload> findUpload(Context& context, const store::User& user, const std::string& id);

/** An upload after a request has worked on it. */
struct Progress
{
    store::Upload upload;
    long long offset = 0;
    std::vector<store::File> newFiles; // the files that this request added
};

/**
 * Appends the request's body at `offset`. If it was the last part, finishes the upload. Throws
 * Problem, or PeerGone if the body was cut (the received bytes are kept).
 */
Async<Progress> receivePart(Context& context, http::Request& request, store::Upload upload,
                            long long offset);

/**
 * Repeats a creation. The body is received if the service has no byte yet. Finishes a whole upload
 * as stopAndInspect(). Throws as receivePart().
 */
Async<Progress> resumeCreation(Context& context, http::Request& request, store::Upload upload);

/** As receivePart(), for an upload that this request holds and has already read. */
Async<Progress> receiveHeldPart(Context& context, http::Request& request, store::Upload upload,
                                long long offset);

/**
 * Stops the request that works on the upload, then deletes the unfinished upload. Throws Problem.
 */
Async<void> deleteUpload(Context& context, http::Request& request, const store::User& user,
                         const store::Upload& upload);

/**
 * Stops the request that works on the upload, then returns the size of the received part. If all
 * bytes are received, but a crash or a failure came before their files, finishes the upload. Throws
 * Problem.
 */
Async<Progress> stopAndInspect(Context& context, http::Request& request, store::Upload upload);

/**
 * Makes the file of a final upload, which the request holds, and removes the parts. A repeat after
 * a crash starts anew. Throws Problem if a part is missing or not complete.
 */
Async<Progress> concatenate(Context& context, http::Request& request, const store::Upload& upload);

struct FinishedUpload
{
    store::Upload upload;
    std::vector<store::File> files;
};

/**
 * Stores the received bytes as a content and adds the upload's files, all or none. Order: make the
 * content durable, then commit files and events in one transaction. With a folder: sync the file,
 * rename it, sync the folder, commit. `address` is the client's, for the audit trail.
 */
Async<FinishedUpload> finishUpload(Context& context, store::Upload upload,
                                   content::Receiver& receiver, std::string address);

/** Adds the result's headers of a finished upload, with its warnings. */
void addResultHeaders(http::Response& response, const store::Upload& upload);

/** Returns the result's body of a finished upload. */
Async<http::Response> resultDocument(Context& context, const Progress& progress, unsigned status);

} // namespace kelvo::api
