// Passes the notices of other instances to the open streams.
#pragma once

#include "service/events/EventBroker.h"
#include "service/store/Database.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace kelvo::events {

/**
 * After a lost connection, notices may be missing: all streams read the log and check their
 * sessions. Does nothing on a database with one instance. Thread: its own. Ownership: the parts
 * outlive it.
 */
class NoticeListener
{
public:
    NoticeListener(store::Database& database, EventBroker& broker);

    /** Blocks for a second, or while a server does not answer for some seconds. */
    ~NoticeListener();
    NoticeListener(const NoticeListener&) = delete;
    NoticeListener& operator=(const NoticeListener&) = delete;

private:
    void loop();
    void pass(store::NoticeSource& source);
    bool stops();

    store::Database& database_;
    EventBroker& broker_;
    std::mutex mutex_; // guards stopping_
    std::condition_variable changed_;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace kelvo::events
