// Requests and answers of HTTP/1.1.
#pragma once

#include "tools/herd/Content.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace herd {

struct Answer
{
    int status = 0;   // 0: no answer came
    std::string body; // empty if the request has a sink and the status is 200 or 206
    std::string location;
    std::string link;
    std::string entityTag;
    std::string digest;  // Repr-Digest
    std::string fileIds; // Kelvo-File-Ids
    std::string offset;  // Upload-Offset
    std::string retryAfter;
    std::string coding; // Content-Encoding

    bool isSuccess() const { return status >= 200 && status < 300; }
};

/** The rest of a content, from `offset`. */
struct Part
{
    const Content* content = nullptr;
    std::uint64_t offset = 0;
};

struct Request
{
    std::string method;
    std::string target;  // an absolute path
    std::string headers; // whole lines, without those that every request has
    std::string json;    // the body, if it is not empty
    std::optional<Part> part;
    std::uint64_t partBytesPerSecond = 0;                      // 0: as fast as the link is
    std::function<void(const Answer&, std::string_view)> sink; // takes the body of 200 and 206
    std::chrono::seconds silence{30}; // the request fails after this time without a byte
};

inline const std::string apiPath = "/kelvo-api/v1";

Request requestTo(std::string method, std::string target);

/** The head of the request, with the JSON body behind it. */
std::string toText(const Request& request, const std::string& host, const std::string& token);

/** Unpacks gzip. Throws std::runtime_error. */
std::string unpack(std::string_view packed);

/** Reads an answer from the pieces in which it arrives. Errors: std::runtime_error. */
class AnswerReader
{
public:
    /** `request` must outlive the reader. */
    explicit AnswerReader(const Request& request);
    ~AnswerReader();

    void take(std::string_view bytes);
    /** The connection has ended. Throws if the answer is not whole. */
    void takeEnd();

    bool hasHead() const;
    bool isWhole() const;
    /** Whether the connection can carry another request. */
    bool keepsAlive() const;
    /** Call it once. */
    Answer answer();

private:
    class Parser;
    std::unique_ptr<Parser> parser_;
    std::string rest_; // bytes that the parser could not use yet
};

} // namespace herd
