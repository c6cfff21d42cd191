#include "account/EventStream.h"

#include "account/EventParser.h"
#include "base/Text.h"
#include "client/ApiJson.h"
#include "client/Problems.h"

#include <string_view>

namespace kesdk::impl {

namespace {

bool IsEventStream(const HttpResponse& head)
{
    constexpr std::string_view kType = "text/event-stream";
    const std::string* type = head.Header("Content-Type");
    return type && EqualNoCase(std::string_view(*type).substr(0, kType.size()), kType);
}

class EventSink : public BodySink
{
public:
    explicit EventSink(const EventHandlers& handlers)
        : m_handlers(handlers), m_parser([this](const ServerSentEvent& event) { TakeEvent(event); })
    {}

    bool Accept(const HttpResponse& head) override
    {
        if (head.status != 200 || !IsEventStream(head))
            return false;
        m_handlers.onOpen();
        return true;
    }

    bool Write(const char* bytes, std::size_t sizeBytes) override
    {
        m_handlers.onBytes();
        return m_parser.Feed(bytes, sizeBytes) && !m_end.IsSet();
    }

    bool WantsLargeBuffer() const override { return false; }

    // Set if an event ended the stream.
    const Failure& End() const { return m_end; }

private:
    void TakeEvent(const ServerSentEvent& raw)
    {
        const AccountEvent event = ParseEvent(raw.name, raw.id, raw.data);
        if (event.kind == EAccountEvent::eSessionEnded)
            m_end = Failure(EErrorCode::eSessionEnded);
        else if (m_end.IsSet())
            return;
        else if (event.kind == EAccountEvent::eUnreadable)
            m_end = Failure(EErrorCode::eCursorTooOld); // the event may have changed anything
        else
            m_handlers.onEvent(event);
    }

    const EventHandlers& m_handlers;
    EventParser m_parser;
    Failure m_end;
};

} // namespace

Failure ReadEventStream(ApiClient& api, const ApiCall& call, const std::string& cursor,
                        const EventHandlers& handlers)
{
    EventSink sink(handlers);
    const HttpOutcome outcome = api.ReadEvents(call, cursor, sink);
    return sink.End().IsSet() ? sink.End() : FailureOf(outcome);
}

} // namespace kesdk::impl
