#include "client/WatchedTransport.h"

#include "client/ApiJson.h"
#include "client/Problems.h"

#include <optional>

namespace kesdk::impl {

namespace {

using kesdkimpl::EProblem;

struct ProblemRow
{
    EErrorCode code;
    EProblem problem;
};

// Other failures say nothing about the link.
constexpr ProblemRow kProblems[] = {
    {EErrorCode::eUnknownHost, EProblem::eNoNetwork},
    {EErrorCode::eUnreachable, EProblem::eNoNetwork},
    {EErrorCode::eRefused, EProblem::eNoAnswer},
    {EErrorCode::eConnectTimeout, EProblem::eNoAnswer},
    {EErrorCode::eTimeout, EProblem::eNoAnswer},
    {EErrorCode::eDropped, EProblem::eNoAnswer},
    {EErrorCode::eCaptivePortal, EProblem::eNetworkWantsLogin},
    {EErrorCode::eClockWrong, EProblem::eClockWrong},
    {EErrorCode::eUnknownAuthority, EProblem::eNotTrusted},
    {EErrorCode::eCertificateExpired, EProblem::eNotTrusted},
    {EErrorCode::eCertificateNotYetValid, EProblem::eNotTrusted},
    {EErrorCode::eWrongHostName, EProblem::eNotTrusted},
    {EErrorCode::eTls, EProblem::eNotTrusted},
};

EProblem ProblemOf(const Failure& failure)
{
    for (const ProblemRow& row : kProblems) {
        if (row.code == failure.code)
            return row.problem;
    }
    return EProblem::eNone;
}

// Whether a proxy says that the service does not answer. The service's own 503 names a problem.
bool IsOfAProxy(const HttpResponse& response)
{
    const bool isGateway = response.status == 502 || response.status == 504;
    return isGateway || (response.status == 503 && ParseProblem(response.body).name.empty());
}

class WatchedSink : public BodySink
{
public:
    WatchedSink(BodySink& sink, LinkBoard& board) : m_sink(sink), m_board(board) {}

    bool Accept(const HttpResponse& head) override
    {
        const bool isAccepted = m_sink.Accept(head);
        if (isAccepted)
            m_board.NoteContact();
        return isAccepted;
    }
    bool Write(const char* bytes, std::size_t sizeBytes) override
    {
        m_board.NoteContact();
        return m_sink.Write(bytes, sizeBytes);
    }
    bool IsForMuch() const override { return m_sink.IsForMuch(); }

private:
    BodySink& m_sink;
    LinkBoard& m_board;
};

class WatchedSource : public BodySource
{
public:
    WatchedSource(BodySource& source, LinkBoard& board) : m_source(source), m_board(board) {}

    std::int64_t LengthBytes() const override { return m_source.LengthBytes(); }
    std::ptrdiff_t Read(char* buffer, std::size_t sizeBytes) override
    {
        return m_source.Read(buffer, sizeBytes);
    }
    void NoteSent(std::int64_t bytes) override
    {
        if (bytes <= m_sentBytes)
            return;
        m_sentBytes = bytes;
        m_board.NoteContact();
        m_board.NoteSent(bytes);
    }

private:
    BodySource& m_source;
    LinkBoard& m_board;
    std::int64_t m_sentBytes = 0;
};

} // namespace

HttpOutcome WatchedTransport::Perform(const HttpRequest& request, const AbortCheck& abort)
{
    HttpRequest watched = request;
    std::optional<WatchedSink> sink;
    std::optional<WatchedSource> source;
    if (request.sink)
        watched.sink = &sink.emplace(*request.sink, m_board);
    if (request.source)
        watched.source = &source.emplace(*request.source, m_board);
    HttpOutcome outcome = m_transport.Perform(watched, abort);
    NoteOutcome(outcome);
    return outcome;
}

void WatchedTransport::NoteOutcome(const HttpOutcome& outcome)
{
    const EProblem problem = ProblemOf(FailureOf(outcome));
    const bool isAnswered = !outcome.failure.IsSet();
    if (problem != EProblem::eNone)
        m_board.NoteProblem(problem);
    else if (isAnswered && IsOfAProxy(outcome.response))
        m_board.NoteProblem(EProblem::eNoAnswer);
    else if (isAnswered)
        m_board.NoteContact();
}

} // namespace kesdk::impl
