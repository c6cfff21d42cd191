#include "service/events/NoticeListener.h"

#include "service/base/Log.h"

namespace kelvo::events {

namespace {

using namespace std::chrono_literals;

constexpr auto oneWait = 500ms; // how long the end of this object may have to wait
constexpr auto pauseAfterFailure = 1s;

} // namespace

NoticeListener::NoticeListener(store::Database& database, EventBroker& broker)
    : database_(database), broker_(broker), thread_([this] { loop(); })
{}

NoticeListener::~NoticeListener()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

bool NoticeListener::stops()
{
    const std::lock_guard lock(mutex_);
    return stopping_;
}

void NoticeListener::pass(store::NoticeSource& source)
{
    store::Notice everything;
    everything.all = true;
    broker_.notice(everything); // the notices of earlier commits are lost
    while (!stops()) {
        for (const std::string& text : source.wait(oneWait)) {
            broker_.notice(store::Notice::parse(text));
        }
    }
}

void NoticeListener::loop()
{
    while (!stops()) {
        try {
            const auto source = database_.listen();
            if (!source) {
                return;
            }
            pass(*source);
        } catch (const std::exception& error) {
            logWarning("notices-lost", error.what());
        }
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, pauseAfterFailure, [this] { return stopping_; });
    }
}

} // namespace kelvo::events
