// Holds what the SDK's threads know about the link, for the console.
#pragma once

#include "base/Clock.h"
#include "kesdkimpl/LinkStatus.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kesdk::impl {

// Takes notes, and computes the status when it is read. A note causes no request.
//
// Thread safety: safe. Each function holds the mutex for a few assignments.
class LinkBoard
{
public:
    // The console's clock: the time since 1970.
    using WallTime = std::function<std::chrono::milliseconds()>;
    // How long the console has slept since its start. The steady clock does not count this time.
    using Asleep = std::function<std::chrono::milliseconds()>;
    // By the service's time, whether the console's clock is wrong. May lock; never waits long.
    using IsClockOff = std::function<bool()>;
    LinkBoard(
        std::unique_ptr<Clock> clock, WallTime wallTime,
        Asleep asleep = [] { return std::chrono::milliseconds(0); }, IsClockOff isClockOff = {});
    explicit LinkBoard(IsClockOff isClockOff = {}); // on the real clocks

    // A new login forgets the problem from before.
    void SetSession(kesdkimpl::ESession session);
    Clock::Time Now() const { return m_clock->Now(); }
    // The service has sent or taken bytes. Returns the time of the contact.
    Clock::Time NoteContact();
    // The event stream has told all changes until now.
    void NoteStream();
    // A request has failed. `lastSign` is the start of the request, or its last own contact. The
    // failure is ignored if another request has had a contact since then and in the last 10 s.
    void NoteProblem(kesdkimpl::EProblem problem, Clock::Time lastSign);
    // The service has refused to open the event stream. A problem that is known already stays.
    void NoteRefusedStream();

    void BeginTransfer(kesdkimpl::EDirection direction, const std::string& nameUtf8,
                       std::int64_t totalBytes);
    void EndTransfer();
    // The receiver has the first `offsetBytes` of the file.
    void ReachOffset(std::int64_t offsetBytes);
    // The network has taken so many bytes of the request that continues at the last offset.
    void NoteSent(std::int64_t bytes);
    // The transfer is given up at `deadline` unless bytes move.
    void SetDeadline(Clock::Time deadline);
    void SetWaiting();
    void SetVerifying();

    kesdkimpl::LinkStatus Read() const;

    // The board that kesdkimpl::ReadLinkStatus reads from now on.
    static void Publish(const std::shared_ptr<LinkBoard>& board);

private:
    // The console's clock may be set later, so the time by this clock is computed for each status.
    struct Event
    {
        Clock::Time at;
        std::chrono::milliseconds asleep; // how long the console had slept until then
    };
    struct Sample
    {
        Clock::Time at;
        std::int64_t doneBytes;
    };
    struct Transfer
    {
        kesdkimpl::TransferStatus status;
        std::int64_t offsetBytes = 0;
        Clock::Time moved; // the last move, or the start
        Clock::Time deadline;
        Clock::Time deadlineSet; // when the deadline was set
        bool isWaiting = false;
        bool isVerifying = false;
        std::deque<Sample> samples; // the youngest is last
    };

    // The caller of the following functions holds the mutex.
    Event EventNow() const { return {Now(), m_asleep()}; }
    std::optional<kesdkimpl::Moment> MomentOf(const std::optional<Event>& event) const;
    std::int64_t WallS(Clock::Time time) const;
    bool HasClockBeenSetSinceTheLogin() const;
    // By the console's clock, the time when the console started. Changes only if the clock is set.
    std::chrono::milliseconds ClockStart() const;
    void TakeProblem(kesdkimpl::EProblem problem);
    void Move(std::int64_t doneBytes);
    kesdkimpl::TransferStatus Describe(const Transfer& transfer) const;

    const std::unique_ptr<Clock> m_clock;
    const WallTime m_wallTime;
    const Asleep m_asleep;
    const IsClockOff m_isClockOff; // may be empty
    mutable std::mutex m_mutex;    // guards everything below
    kesdkimpl::ESession m_session = kesdkimpl::ESession::eLoggedOut;
    kesdkimpl::EProblem m_problem = kesdkimpl::EProblem::eNone;
    std::chrono::milliseconds m_clockStartAtProblem{0};
    std::optional<Event> m_offlineSince;
    std::optional<Event> m_lastContact;
    std::optional<Event> m_listsCurrentAt;
    std::optional<Transfer> m_transfer;
};

// Passes a transfer's notes to the board, if there is a board.
class TransferReport
{
public:
    TransferReport() = default;
    explicit TransferReport(LinkBoard& board) : m_board(&board) {}

    void Begin(kesdkimpl::EDirection direction, const std::string& nameUtf8,
               std::int64_t totalBytes) const
    {
        if (m_board)
            m_board->BeginTransfer(direction, nameUtf8, totalBytes);
    }
    void ReachOffset(std::int64_t offsetBytes) const
    {
        if (m_board)
            m_board->ReachOffset(offsetBytes);
    }
    void SetDeadline(Clock::Time deadline) const
    {
        if (m_board)
            m_board->SetDeadline(deadline);
    }
    void SetWaiting() const
    {
        if (m_board)
            m_board->SetWaiting();
    }
    void SetVerifying() const
    {
        if (m_board)
            m_board->SetVerifying();
    }

private:
    LinkBoard* m_board = nullptr;
};

} // namespace kesdk::impl
