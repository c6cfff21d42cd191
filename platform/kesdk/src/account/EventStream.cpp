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
    explicit EventSink(const EventStream::Handlers& handlers)
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
        return m_parser.Feed(bytes, sizeBytes) && !m_hasSessionEnded && !m_mustStartOver;
    }

    bool IsForMuch() const override { return false; }

    bool HasSessionEnded() const { return m_hasSessionEnded; }
    bool MustStartOver() const { return m_mustStartOver; }

private:
    void TakeEvent(const ServerSentEvent& raw)
    {
        const AccountEvent event = ParseEvent(raw.name, raw.id, raw.data);
        if (event.kind == EAccountEvent::eSessionEnded)
            m_hasSessionEnded = true;
        else if (event.kind == EAccountEvent::eUnreadable)
            m_mustStartOver = true; // the unreadable event may have changed anything
        else if (!m_hasSessionEnded && !m_mustStartOver)
            m_handlers.onEvent(event);
    }

    const EventStream::Handlers& m_handlers;
    EventParser m_parser;
    bool m_hasSessionEnded = false;
    bool m_mustStartOver = false;
};

EStreamEnd EndOf(const EventSink& sink, const Failure& failure)
{
    if (sink.HasSessionEnded() || failure.Is(EErrorCode::eSessionEnded))
        return EStreamEnd::eSessionEnded;
    if (sink.MustStartOver() || failure.Is(EErrorCode::eCursorTooOld))
        return EStreamEnd::eTooOld;
    return EStreamEnd::eOther;
}

} // namespace

StreamOutcome EventStream::Run(const ApiCall& call, const std::string& cursor,
                               const Handlers& handlers)
{
    EventSink sink(handlers);
    const HttpOutcome outcome = m_api.ReadEvents(call, cursor, sink);
    const Failure failure = FailureOf(outcome);
    return {EndOf(sink, failure), failure};
}

} // namespace kesdk::impl
