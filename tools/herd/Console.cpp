#include "tools/herd/Console.h"

#include "tools/herd/Actions.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>

namespace herd {

namespace {

constexpr std::chrono::seconds streamSilence{118}; // as the client SDK: a comment comes every 60 s
constexpr std::chrono::seconds lastingStream{10};
constexpr std::chrono::hours never{1000};
constexpr int logoutAttempts = 2;
constexpr double shortestLossMs = 1000;
constexpr double longestLossMs = 30'000;
constexpr const char* sentProject = "From Console"; // for the console's files
constexpr const char* receivedProject = "To Console";

milliseconds lengthOf(const PlannedAction& loss)
{
    const double share = Random::toFraction(loss.dice);
    return milliseconds(
        static_cast<std::int64_t>(shortestLossMs + share * (longestLossMs - shortestLossMs)));
}

Async<void> unlessGivenUp(Async<void> action)
{
    try {
        co_await std::move(action);
    } catch (const GivenUp&) {
        // The failed attempts are counted.
    }
}

} // namespace

Console::Console(Run& run, Ledger& ledger, Place place, Identity identity, const Schedule& work,
                 const Schedule& lostLinks)
    : run_(run),
      ledger_(ledger),
      place_(place),
      identity_(std::move(identity)),
      requests_(run.network, identity_, place.number),
      events_(run.network, identity_, place.number, Line::EUse::Events),
      work_(work),
      lostLinks_(lostLinks),
      nextLostLink_(lostLinks_.next())
{}

Async<void> Console::listen(Clock::time_point begin)
{
    while (!run_.isEnding && Clock::now() < begin) {
        co_await events_.sleepUntil(begin);
    }
    if (Clock::now() < begin) {
        isAbsent_ = true;
        co_return;
    }
    identity_.loginDue = begin;
    Backoff backoff;
    while (!isLeaving_) {
        Answer answer;
        try {
            answer = co_await follow();
        } catch (const GivenUp&) {
            // The refusal is counted. The console tries again.
        }
        if (isStreamOpen_ && Clock::now() - openSince_ > lastingStream) {
            backoff.reset();
        }
        run_.streamsOpen -= std::exchange(isStreamOpen_, false) ? 1 : 0;
        co_await events_.pause(backoff, answer);
    }
}

/** One event stream to its end, after a snapshot if the console has none. */
Async<Answer> Console::follow()
{
    if (cursor_ < 0) {
        take(co_await fetchSnapshot(events_));
    }
    const Answer answer = co_await readEvents();
    if (answer.status == 410) {
        cursor_ = -1;
    }
    co_return answer;
}

Async<void> Console::work()
{
    while (!isReady_ && !run_.isEnding) {
        co_await requests_.sleepUntil(Clock::now() + never);
    }
    if (place_.role == ERole::Operator && isReady_) {
        co_await unlessGivenUp(reportEnvironment(*this));
    }
    while (const auto planned = work_.next()) {
        const Clock::time_point due = run_.start + planned->at;
        while (!run_.isEnding && Clock::now() < due) {
            co_await requests_.sleepUntil(due);
        }
        if (run_.isEnding) {
            break;
        }
        due_ = due;
        run_.network.figures.succeed(EKind::StartDelay, Clock::now() - due);
        co_await unlessGivenUp(perform(*this, *planned));
    }
    isDone_ = true;
}

Async<void> Console::logOut()
{
    isLeaving_ = true;
    events_.stop(); // otherwise a stream that resumes now would log in again
    const Request request = requestTo("DELETE", apiPath + "/sessions/current");
    co_await requests_.call(EKind::Logout, request, Clock::now(), logoutAttempts);
}

void Console::tick(Clock::time_point now)
{
    if (!nextLostLink_ || !isReady_ || run_.isEnding || now < run_.start + nextLostLink_->at) {
        return;
    }
    const Clock::time_point until = now + lengthOf(*nextLostLink_);
    requests_.loseLink(until);
    events_.loseLink(until);
    nextLostLink_ = lostLinks_.next();
}

void Console::end()
{
    requests_.loseLink({});
    events_.loseLink({});
}

void Console::stopWork()
{
    if (!isDone_) {
        requests_.stop();
    }
}

bool Console::knows(const std::vector<ListedFile>& listed) const
{
    std::vector<std::int32_t> seen;
    for (const ListedFile& file : listed) {
        if (maySee(file.inbox)) {
            seen.push_back(file.id);
        }
    }
    std::sort(seen.begin(), seen.end());
    return seen == files_;
}

std::string Console::nextUploadName()
{
    return run_.id + '-' + std::to_string(place_.number) + '-' + std::to_string(++uploads_) +
           ".bin";
}

void Console::take(const Snapshot& snapshot)
{
    const bool isOffice = place_.role == ERole::Office;
    cursor_ = std::stoll(snapshot.cursor);
    ownInboxes_.clear();
    targets_.clear();
    files_.clear();
    for (const InboxNote& inbox : snapshot.inboxes) {
        if (inbox.owner == identity_.user) {
            ownInboxes_.push_back(inbox.id);
        }
        if (isOffice ? inbox.project == receivedProject
                     : inbox.project == sentProject && inbox.owner == identity_.user) {
            targets_.push_back(inbox.id);
        }
    }
    for (const ListedFile& file : snapshot.files) {
        if (maySee(file.inbox)) {
            files_.push_back(file.id);
        }
    }
    std::sort(files_.begin(), files_.end());
}

Async<Answer> Console::readEvents()
{
    Request request = requestTo("GET", apiPath + "/events");
    request.headers =
        "Accept: text/event-stream\r\nLast-Event-ID: " + std::to_string(cursor_) + "\r\n";
    request.silence = streamSilence;
    co_await events_.requireSession();
    const Clock::time_point begin = Clock::now();
    request.sink = [this, begin](const Answer&, std::string_view bytes) {
        if (!isStreamOpen_) {
            openStream(events_.onlineSince(begin));
        }
        parser_.feed(bytes, [this](const ServerSentEvent& event) { takeEvent(event); });
    };
    parser_.reset();
    co_return co_await events_.attempt(EKind::Stream, request);
}

void Console::openStream(Clock::duration taken)
{
    run_.network.figures.succeed(EKind::Stream, taken);
    openSince_ = Clock::now();
    isStreamOpen_ = true;
    ++run_.streamsOpen;
    isReady_ = true;
    requests_.wake();
}

void Console::takeEvent(const ServerSentEvent& event)
{
    std::int64_t id = 0;
    std::from_chars(event.id.data(), event.id.data() + event.id.size(), id);
    if (id == 0) {
        return; // the session ends
    }
    run_.invariants.check(EInvariant::EventOrder, id > cursor_,
                          identity_.user + ": event " + event.id + " after " +
                              std::to_string(cursor_));
    cursor_ = id;
    takeFile(event);
}

void Console::takeFile(const ServerSentEvent& event)
{
    const bool isAdded = event.name == "file-added";
    if (!isAdded && event.name != "file-removed") {
        return;
    }
    const auto file = nlohmann::json::parse(event.data).at("entry").at("id").get<std::int32_t>();
    const auto place = std::lower_bound(files_.begin(), files_.end(), file);
    const bool isKnown = place != files_.end() && *place == file;
    run_.invariants.check(EInvariant::EventOrder, isKnown != isAdded,
                          identity_.user + ": " + event.name + " of file " + std::to_string(file));
    if (isAdded && !isKnown) {
        files_.insert(place, file);
        ledger_.see(file, openSince_, Clock::now());
    } else if (!isAdded && isKnown) {
        files_.erase(place);
    }
}

bool Console::maySee(std::int32_t inbox) const
{
    return place_.role == ERole::Office ||
           std::find(ownInboxes_.begin(), ownInboxes_.end(), inbox) != ownInboxes_.end();
}

Async<Snapshot> fetchSnapshot(Line& line)
{
    co_await line.requireSession();
    Request request = requestTo("GET", apiPath + "/account");
    request.headers = "Accept-Encoding: gzip\r\n";
    const Answer answer = co_await line.call(EKind::Snapshot, request, Clock::now());
    try {
        co_return parseSnapshot(answer.body);
    } catch (const nlohmann::json::exception&) {
        line.network().figures.fail(EKind::Snapshot, "not a snapshot");
        throw GivenUp();
    }
}

} // namespace herd
