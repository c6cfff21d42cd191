// One simulated console, or the office of a farm.
#pragma once

#include "tools/herd/EventParser.h"
#include "tools/herd/Ledger.h"
#include "tools/herd/Line.h"
#include "tools/herd/Schedule.h"
#include "tools/herd/Snapshot.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace herd {

/** The state that all consoles of a run share. */
struct Run
{
    Network network;
    Invariants invariants;
    std::string id; // begins the names of this run's files
    std::uint64_t mostUploadBytes = 0;
    std::uint64_t linkBytesPerSecond = 0; // of an upload; 0: no limit
    Clock::time_point start;
    std::size_t streamsOpen = 0;
    std::size_t uploadsOpen = 0; // begun, and neither acknowledged nor refused
    bool isEnding = false;       // no further action begins
};

/** The number and the role of a console. */
struct Place
{
    std::uint32_t number = 0; // of all consoles and offices
    ERole role = ERole::Operator;
};

/**
 * A console works on one line and reads its events on another line, as a real one does. Its files
 * are those of the snapshot, changed by the events.
 */
class Console
{
public:
    Console(Run& run, Ledger& ledger, Place place, Identity identity, const Schedule& work,
            const Schedule& lostLinks);

    /** Logs in at `begin` and reads the event stream, again and again, without an end. */
    Async<void> listen(Clock::time_point begin);
    /** When the stream is open, does what the schedule says. Returns when the run ends. */
    Async<void> work();
    Async<void> logOut();

    /** Loses the link if the schedule says so. Called a few times a second. */
    void tick(Clock::time_point now);
    /** The run ends: the console gets its link back and begins no further action. */
    void end();
    /** Ends a running action without its result, and its requests. */
    void stopWork();
    /** Ends the stream. It resumes at the last event, so a stream that is cut off unnoticed works
     * again. */
    void reopenStream() { events_.reconnect(); }

    bool isLoggedIn() const { return !identity_.token.empty(); }
    bool isDone() const { return isDone_; }
    bool isStreamOpen() const { return isStreamOpen_; }
    /** The begin of the stream that is open or was open last. */
    Clock::time_point openSince() const { return openSince_; }
    /** Whether the console has read a snapshot, and its stream has been open once. */
    bool isReady() const { return isReady_; }
    /** Whether the run ended before the console's login. */
    bool isAbsent() const { return isAbsent_; }
    /** Whether nothing runs that the end of the run waits for. */
    bool isSettled() const { return isAbsent_ || (isDone_ && isStreamOpen_); }

    /** Whether the console knows exactly the files of `listed` that it may see. */
    bool knows(const std::vector<ListedFile>& listed) const;

    const Identity& identity() const { return identity_; }

    // For the actions.
    Run& run() { return run_; }
    Ledger& ledger() { return ledger_; }
    Line& requests() { return requests_; }
    /** When the schedule wanted the current action. Latencies begin here. */
    Clock::time_point due() const { return due_; }
    const Place& place() const { return place_; }
    const std::string& user() const { return identity_.user; }
    const std::vector<std::int32_t>& files() const { return files_; } // ids, ascending
    const std::vector<std::int32_t>& targets() const { return targets_; }
    /** A name that no other upload has. */
    std::string nextUploadName();

private:
    Async<Answer> follow();
    void take(const Snapshot& snapshot);
    Async<Answer> readEvents();
    void openStream(Clock::duration taken);
    void takeEvent(const ServerSentEvent& event);
    void takeFile(const ServerSentEvent& event);
    bool maySee(std::int32_t inbox) const;

    Run& run_;
    Ledger& ledger_;
    Place place_;
    Identity identity_;
    Line requests_;
    Line events_;
    Schedule work_;
    Schedule lostLinks_;
    std::optional<PlannedAction> nextLostLink_;
    EventParser parser_;
    std::int64_t cursor_ = -1;    // the last event; -1: a snapshot is needed first
    Clock::time_point openSince_; // of the stream
    std::vector<std::int32_t> files_;
    std::vector<std::int32_t> ownInboxes_;
    std::vector<std::int32_t> targets_; // inboxes, for uploads
    std::uint32_t uploads_ = 0;
    Clock::time_point due_;
    bool isReady_ = false; // the stream has been open
    bool isStreamOpen_ = false;
    bool isDone_ = false;
    bool isLeaving_ = false; // the console logs out
    bool isAbsent_ = false;  // the run ended before its login
};

/** Throws GivenUp, also for an answer that is no snapshot. */
Async<Snapshot> fetchSnapshot(Line& line);

} // namespace herd
