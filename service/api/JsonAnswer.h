// A JSON document of any size as an answer, written piece by piece.
#pragma once

#include "service/api/Context.h"
#include "service/api/Documents.h"
#include "service/api/Gzip.h"
#include "service/base/Digest.h"
#include "service/http/Response.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvo::api {

/**
 * Keeps a small document in memory and a large one in a file, so that the memory of a request does
 * not grow with its answer, and a slow reader holds no transaction of the database.
 *
 * On a full disk, the file is in memory, because a console needs its account. The disk's reserve
 * serves the database only.
 *
 * Thread: any that may block, for example a reader of the database. Errors: throws
 * std::system_error with ENOSPC if the disk is full and the answer exceeds a farm's share of
 * Context::answersInMemory.
 */
class JsonAnswer
{
public:
    /** `farm`: the farm of the reader, 0 for none. `packed`: gzip, unless the document is tiny. */
    JsonAnswer(Context& context, store::Id farm, bool packed = false);

    /** Begins the document, or an item of the open list: the members of `object`, then a list. */
    void open(const Json& object, const char* list);

    /** Adds an item to the open list. */
    void add(const Json& item);
    void add(const store::File& item);

    /** Ends the open list, and begins another list of the same object. */
    void nextList(const char* list);

    /** Ends the open list and its object; `members` of the object follow the list. */
    void close(const Json& members = Json::object());

    /** After the last close(): returns the SHA-256 of the document before its compression. */
    std::string end();

    /** After end(): sets the body and its coding. Throws Problem (busy). */
    void moveTo(http::Response& response);

    /** Ends the document. The answer must not be stored. Throws Problem (busy). */
    http::Response toResponse(unsigned status = 200);

private:
    void beginItem();
    void write(std::string_view text);
    void packText(bool isLast);
    void spill();
    bool storeOnDisk();
    void storeInMemory();
    void store();

    Context& context_;
    store::Id farm_;
    bool packed_;
    std::vector<bool> hasItems_; // for each open list
    std::string text_;           // not yet packed
    std::string body_;           // not yet stored
    std::optional<Gzip> gzip_;
    Sha256 digest_;
    std::string name_; // of the document, for AnswerFiles
    FileDescriptor file_;
    bool isInMemory_ = false; // the file
    std::uint64_t storedBytes_ = 0;
};

} // namespace kelvo::api
