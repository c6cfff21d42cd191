#include "base/LinkBoard.h"

#include "base/SystemClock.h"
#include "base/Timing.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace kesdk::impl {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

// A contact of this age says more about the link than the failure of an older request.
constexpr std::chrono::seconds kFreshContact{10};
constexpr std::chrono::seconds kStillAfter{3};
// A smaller step of the console's clock may be an error between two readings.
constexpr std::chrono::seconds kLeastClockStep{5};
constexpr milliseconds kSampleEvery{500};
constexpr std::chrono::seconds kRateWindow{10};
constexpr std::chrono::seconds kLeastRateTime{2};

// A function's statics, so that no code runs at load.
std::mutex& PublishedMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::weak_ptr<LinkBoard>& Published()
{
    static std::weak_ptr<LinkBoard> board;
    return board;
}

} // namespace

LinkBoard::LinkBoard(std::unique_ptr<Clock> clock, WallTime wallTime, Asleep asleep,
                     IsClockOff isClockOff)
    : m_clock(std::move(clock)),
      m_wallTime(std::move(wallTime)),
      m_asleep(std::move(asleep)),
      m_isClockOff(std::move(isClockOff))
{}

LinkBoard::LinkBoard(IsClockOff isClockOff)
    : LinkBoard(
          std::make_unique<SystemClock>(),
          [] {
              return duration_cast<milliseconds>(
                  std::chrono::system_clock::now().time_since_epoch());
          },
          &TimeAsleep, std::move(isClockOff))
{}

void LinkBoard::SetSession(kesdkimpl::ESession session)
{
    const std::lock_guard lock(m_mutex);
    m_session = session;
    if (session == kesdkimpl::ESession::eConnecting) {
        m_problem = kesdkimpl::EProblem::eNone;
        m_offlineSince.reset();
    }
}

Clock::Time LinkBoard::NoteContact()
{
    const std::lock_guard lock(m_mutex);
    m_problem = kesdkimpl::EProblem::eNone;
    m_offlineSince.reset();
    m_lastContact = EventNow();
    return m_lastContact->at;
}

void LinkBoard::NoteStream()
{
    const std::lock_guard lock(m_mutex);
    m_listsCurrentAt = EventNow();
}

void LinkBoard::NoteProblem(kesdkimpl::EProblem problem, Clock::Time lastSign)
{
    const std::lock_guard lock(m_mutex);
    if (!m_lastContact || m_lastContact->at <= lastSign ||
        Now() - m_lastContact->at > kFreshContact)
        TakeProblem(problem);
}

void LinkBoard::NoteRefusedStream()
{
    const std::lock_guard lock(m_mutex);
    if (m_problem == kesdkimpl::EProblem::eNone)
        TakeProblem(kesdkimpl::EProblem::eNoAnswer);
}

void LinkBoard::BeginTransfer(kesdkimpl::EDirection direction, const std::string& nameUtf8,
                              std::int64_t totalBytes)
{
    const std::lock_guard lock(m_mutex);
    Transfer transfer;
    transfer.status.direction = direction;
    transfer.status.nameUtf8 = nameUtf8;
    transfer.status.totalBytes = totalBytes;
    transfer.moved = transfer.deadlineSet = m_clock->Now();
    transfer.deadline = transfer.moved + kStallTimeout;
    m_transfer = std::move(transfer);
}

void LinkBoard::EndTransfer()
{
    const std::lock_guard lock(m_mutex);
    m_transfer.reset();
}

void LinkBoard::ReachOffset(std::int64_t offsetBytes)
{
    const std::lock_guard lock(m_mutex);
    if (!m_transfer)
        return;
    m_transfer->offsetBytes = offsetBytes;
    Move(offsetBytes);
}

void LinkBoard::NoteSent(std::int64_t bytes)
{
    const std::lock_guard lock(m_mutex);
    if (m_transfer && bytes > 0)
        Move(m_transfer->offsetBytes + bytes);
}

void LinkBoard::SetDeadline(Clock::Time deadline)
{
    const std::lock_guard lock(m_mutex);
    if (!m_transfer)
        return;
    m_transfer->deadline = deadline;
    m_transfer->deadlineSet = m_clock->Now();
}

void LinkBoard::SetWaiting()
{
    const std::lock_guard lock(m_mutex);
    if (!m_transfer)
        return;
    m_transfer->isWaiting = true;
    m_transfer->isVerifying = false;
}

void LinkBoard::SetVerifying()
{
    const std::lock_guard lock(m_mutex);
    if (!m_transfer)
        return;
    m_transfer->isVerifying = true;
    m_transfer->isWaiting = false;
}

kesdkimpl::LinkStatus LinkBoard::Read() const
{
    const std::lock_guard lock(m_mutex);
    kesdkimpl::LinkStatus status;
    status.isClockOff = m_isClockOff && m_isClockOff();
    status.session = m_session;
    status.problem = m_problem;
    status.offlineSince = MomentOf(m_offlineSince);
    status.lastContact = MomentOf(m_lastContact);
    status.listsCurrentAt = MomentOf(m_listsCurrentAt);
    if (HasClockBeenSetSinceTheLogin()) {
        status.session = kesdkimpl::ESession::eLoggedOut;
        status.problem = kesdkimpl::EProblem::eNone;
        status.offlineSince.reset();
    }
    if (m_transfer)
        status.transfer = Describe(*m_transfer);
    return status;
}

void LinkBoard::Publish(const std::shared_ptr<LinkBoard>& board)
{
    const std::lock_guard lock(PublishedMutex());
    Published() = board;
}

std::optional<kesdkimpl::Moment> LinkBoard::MomentOf(const std::optional<Event>& event) const
{
    if (!event)
        return std::nullopt;
    const milliseconds sleptSince = m_asleep() - event->asleep;
    return kesdkimpl::Moment{WallS(event->at - sleptSince), event->at};
}

std::int64_t LinkBoard::WallS(Clock::Time time) const
{
    const auto ahead = duration_cast<milliseconds>(time - m_clock->Now());
    return duration_cast<std::chrono::seconds>(m_wallTime() + ahead).count();
}

// Whether the last login failed because of the clock, and the clock has been set since. The next
// login checks the new time.
bool LinkBoard::HasClockBeenSetSinceTheLogin() const
{
    return m_session == kesdkimpl::ESession::eLoginFailed &&
           m_problem == kesdkimpl::EProblem::eClockWrong &&
           std::chrono::abs(ClockStart() - m_clockStartAtProblem) >= kLeastClockStep;
}

milliseconds LinkBoard::ClockStart() const
{
    return m_wallTime() - duration_cast<milliseconds>(Now().time_since_epoch()) - m_asleep();
}

void LinkBoard::TakeProblem(kesdkimpl::EProblem problem)
{
    m_problem = problem;
    m_clockStartAtProblem = ClockStart();
    if (!m_offlineSince)
        m_offlineSince = EventNow();
}

void LinkBoard::Move(std::int64_t doneBytes)
{
    Transfer& transfer = *m_transfer;
    const Clock::Time now = m_clock->Now();
    if (doneBytes < transfer.status.doneBytes) {
        transfer.samples.clear();
    } else if (doneBytes > transfer.status.doneBytes) {
        transfer.moved = now;
        transfer.isWaiting = transfer.isVerifying = false;
    }
    transfer.status.doneBytes = doneBytes;
    if (transfer.samples.empty() || now - transfer.samples.back().at >= kSampleEvery)
        transfer.samples.push_back({now, doneBytes});
    while (now - transfer.samples.front().at > kRateWindow)
        transfer.samples.pop_front();
}

kesdkimpl::TransferStatus LinkBoard::Describe(const Transfer& transfer) const
{
    kesdkimpl::TransferStatus status = transfer.status;
    const Clock::Time now = m_clock->Now();
    const bool hasAll = status.totalBytes > 0 && status.doneBytes >= status.totalBytes;
    if (transfer.isVerifying || (hasAll && !transfer.isWaiting))
        status.phase = kesdkimpl::EPhase::eVerifies;
    else if (transfer.isWaiting || now - transfer.moved >= kStillAfter)
        status.phase = kesdkimpl::EPhase::eWaits;
    // If bytes moved after the deadline was set, the deadline is later too.
    const bool hasMoved = transfer.moved > transfer.deadlineSet;
    const Clock::Time deadline = hasMoved ? transfer.moved + kStallTimeout : transfer.deadline;
    status.waitsUntilS = WallS(deadline);
    const auto first =
        std::find_if(transfer.samples.begin(), transfer.samples.end(),
                     [now](const Sample& sample) { return now - sample.at <= kRateWindow; });
    if (status.phase != kesdkimpl::EPhase::eMoves || first == transfer.samples.end() ||
        now - first->at < kLeastRateTime || status.doneBytes <= first->doneBytes)
        return status;
    const auto passed = duration_cast<milliseconds>(now - first->at);
    const auto rate = (status.doneBytes - first->doneBytes) * 1000 / passed.count();
    if (rate > 0) // readers divide by it
        status.bytesPerSecond = rate;
    return status;
}

} // namespace kesdk::impl

namespace kesdkimpl {

LinkStatus ReadLinkStatus()
{
    using kesdk::impl::LinkBoard;
    std::shared_ptr<LinkBoard> board;
    {
        const std::lock_guard lock(kesdk::impl::PublishedMutex());
        board = kesdk::impl::Published().lock();
    }
    return board ? board->Read() : LinkStatus();
}

} // namespace kesdkimpl
