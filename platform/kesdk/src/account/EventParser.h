// Server-sent events out of a stream of bytes.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace kesdk::impl {

struct ServerSentEvent
{
    std::string id; // the last id of the stream so far
    std::string name;
    std::string data;
};

// Reads the text/event-stream format, in pieces of any size.
class EventParser
{
public:
    using Handler = std::function<void(const ServerSentEvent&)>;

    explicit EventParser(Handler handler) : m_handler(std::move(handler)) {}

    // False if the stream is unusable: a line or an event is longer than the service sends.
    bool Feed(const char* bytes, std::size_t sizeBytes);

private:
    bool TakeByte(char byte);
    void TakeLine();
    void TakeField(std::string_view field, std::string_view value);
    void Dispatch();

    Handler m_handler;
    std::string m_line;
    bool m_isAfterCarriageReturn = false;
    bool m_isFirstLine = true;
    bool m_hasData = false;
    std::string m_lastId;
    std::string m_name;
    std::string m_data;
};

} // namespace kesdk::impl
