// Blocks readers while a commit needs the database.
#pragma once

#include <condition_variable>
#include <mutex>

namespace kelvo::store {

/**
 * With a rollback journal a commit waits for all readers, and readers are refused while it writes.
 * Without this gate both would poll and sleep. Here they wait for each other, and a waiting commit
 * takes precedence. Thread safe.
 */
class CommitGate
{
public:
    void enterReader();
    void leaveReader();
    void enterCommit();
    void leaveCommit();

private:
    std::mutex mutex_; // guards the members below
    std::condition_variable changed_;
    int readers_ = 0;
    int commits_ = 0; // waiting or running
    bool committing_ = false;
};

/** Holds the gate as a reader for its lifetime. */
class ReaderPass
{
public:
    explicit ReaderPass(CommitGate& gate) : gate_(gate) { gate_.enterReader(); }
    ~ReaderPass() { gate_.leaveReader(); }
    ReaderPass(const ReaderPass&) = delete;
    ReaderPass& operator=(const ReaderPass&) = delete;

private:
    CommitGate& gate_;
};

/** Holds the gate for a commit for its lifetime. */
class CommitPass
{
public:
    explicit CommitPass(CommitGate& gate) : gate_(gate) { gate_.enterCommit(); }
    ~CommitPass() { gate_.leaveCommit(); }
    CommitPass(const CommitPass&) = delete;
    CommitPass& operator=(const CommitPass&) = delete;

private:
    CommitGate& gate_;
};

} // namespace kelvo::store
