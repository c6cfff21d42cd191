// A handler's answer: a small body, a file's bytes or an endless stream.
#pragma once

#include "service/base/Async.h"

#include <boost/asio/buffer.hpp>
#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvo::http {

class Transport;

using HeaderList = std::vector<std::pair<std::string, std::string>>;

/** The bytes of an answer that is too large for the memory. */
class BodySource
{
public:
    virtual ~BodySource() = default;

    virtual std::uint64_t sizeBytes() const = 0;

    /** Fills the buffer with the next bytes. Returns 0 if a read failed: the answer is cut. */
    virtual Async<std::size_t> read(asio::mutable_buffer buffer) = 0;
};

/** Writes to the peer until it returns; then the connection closes. */
using StreamBody = std::function<Async<void>(Transport& transport)>;

/** One answer. At most one of `source` and `stream` may be set; without both, `body` is sent. */
struct Response
{
    unsigned status = 200;
    HeaderList headers; // without Content-Length and Connection: the connection adds both
    std::string body;
    std::shared_ptr<BodySource> source;
    StreamBody stream;
    bool closeAfter = false;

    static Response json(const nlohmann::ordered_json& document, unsigned status = 200);
    static Response text(std::string body, std::string contentType);
    static Response noContent();

    Response& with(std::string name, std::string value);
};

std::string_view reasonPhrase(unsigned status);

} // namespace kelvo::http
