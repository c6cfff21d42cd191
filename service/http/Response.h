// What a handler answers with: a small body, a file's bytes or an endless stream.
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

/** The bytes of a reply that is too large to hold in memory. */
class BodySource
{
public:
    virtual ~BodySource() = default;

    virtual std::uint64_t sizeBytes() const = 0;

    /** Fills the buffer with the next bytes; 0 when a read failed, which cuts the reply short. */
    virtual Async<std::size_t> read(asio::mutable_buffer buffer) = 0;
};

/** Writes to the peer as long as it likes; the connection closes when it returns. */
using StreamBody = std::function<Async<void>(Transport& transport)>;

/** One reply. Exactly one of `source` and `stream` may be set; otherwise `body` is sent. */
struct Response
{
    unsigned status = 200;
    HeaderList headers; // without Content-Length and Connection, which the connection adds
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
