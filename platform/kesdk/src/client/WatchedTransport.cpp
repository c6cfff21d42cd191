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

// Notes the contacts of one request and its failure.
class RequestNotes
{
public:
    explicit RequestNotes(LinkBoard& board) : m_board(board), m_lastSign(board.Now()) {}

    void Contact() { m_lastSign = m_board.NoteContact(); }
    void Sent(std::int64_t bytes)
    {
        Contact();
        m_board.NoteSent(bytes);
    }
    void Outcome(const HttpOutcome& outcome)
    {
        if (outcome.tellsNothingAboutLink)
            return;
        const EProblem problem = ProblemOf(FailureOf(outcome));
        const bool isAnswered = !outcome.failure.IsSet();
        if (problem != EProblem::eNone)
            m_board.NoteProblem(problem, m_lastSign);
        else if (isAnswered && IsOfAProxy(outcome.response))
            m_board.NoteProblem(EProblem::eNoAnswer, m_lastSign);
        else if (isAnswered)
            Contact();
    }

private:
    LinkBoard& m_board;
    Clock::Time m_lastSign; // the start of the request, or its last contact
};

class WatchedSink : public BodySink
{
public:
    WatchedSink(BodySink& sink, RequestNotes& notes) : m_sink(sink), m_notes(notes) {}

    bool Accept(const HttpResponse& head) override
    {
        const bool isAccepted = m_sink.Accept(head);
        if (isAccepted)
            m_notes.Contact();
        return isAccepted;
    }
    bool Write(const char* bytes, std::size_t sizeBytes) override
    {
        m_notes.Contact();
        return m_sink.Write(bytes, sizeBytes);
    }
    bool WantsLargeBuffer() const override { return m_sink.WantsLargeBuffer(); }

private:
    BodySink& m_sink;
    RequestNotes& m_notes;
};

class WatchedSource : public BodySource
{
public:
    WatchedSource(BodySource& source, RequestNotes& notes) : m_source(source), m_notes(notes) {}

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
        m_notes.Sent(bytes);
    }

private:
    BodySource& m_source;
    RequestNotes& m_notes;
    std::int64_t m_sentBytes = 0;
};

} // namespace

HttpOutcome WatchedTransport::Perform(const HttpRequest& request, const AbortCheck& abort)
{
    RequestNotes notes(m_board);
    HttpRequest watched = request;
    std::optional<WatchedSink> sink;
    std::optional<WatchedSource> source;
    if (request.sink)
        watched.sink = &sink.emplace(*request.sink, notes);
    if (request.source)
        watched.source = &source.emplace(*request.source, notes);
    HttpOutcome outcome = m_transport.Perform(watched, abort);
    notes.Outcome(outcome);
    return outcome;
}

} // namespace kesdk::impl
