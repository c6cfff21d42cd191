// Delivery to listeners: order, thread, subscription and its end.
#include "connection/NotificationDispatcher.h"
#include "support/RecordingListener.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <utility>

namespace kesdk::impl {

namespace {

using test::RecordingListener;

api::ConnectionState State(std::int32_t state)
{
    return {1, state};
}

// Runs a function when it is called.
class CallingListener : public api::IServerConnectionNotification
{
public:
    explicit CallingListener(std::function<void()> call) : m_call(std::move(call)) {}
    void onServerConnectionChange(const api::ConnectionState&) override { m_call(); }

private:
    std::function<void()> m_call;
};

// Subscribes to one of the two kinds of events that it implements.
class PickyListener : public RecordingListener
{
public:
    PickyListener() { m_events.erase(api::eResourceChangeEvents); }
};

} // namespace

TEST(NotificationDispatcher, DeliversInOrderOnItsOwnThread)
{
    NotificationDispatcher dispatcher;
    RecordingListener listener;
    dispatcher.Subscribe(&listener);
    for (const int state : {1, 3, 2, 3, 0})
        dispatcher.Post(State(state));
    ASSERT_TRUE(listener.WaitForStates(5));
    EXPECT_EQ(listener.States(), (std::vector<std::int32_t>{1, 3, 2, 3, 0}));
    EXPECT_NE(listener.Thread(), std::this_thread::get_id());
    dispatcher.Unsubscribe(&listener);
}

TEST(NotificationDispatcher, DeliversOnlyTheEventsThatTheListenerWants)
{
    NotificationDispatcher dispatcher;
    PickyListener picky;
    RecordingListener all;
    dispatcher.Subscribe(&picky);
    dispatcher.Subscribe(&all);
    dispatcher.Post(NotificationDispatcher::ResourceChange{4, 50, 2, 10});
    dispatcher.Post(State(3));
    ASSERT_TRUE(all.WaitForState(3));
    ASSERT_TRUE(picky.WaitForState(3));
    EXPECT_TRUE(picky.Changes().empty());
    ASSERT_EQ(all.Changes().size(), 1u);
    EXPECT_EQ(all.Changes()[0].containerId, 10ul);
    dispatcher.Unsubscribe(&picky);
    dispatcher.Unsubscribe(&all);
}

TEST(NotificationDispatcher, DeliversNothingFromBeforeTheSubscription)
{
    NotificationDispatcher dispatcher;
    std::promise<void> isInside;
    std::promise<void> mayGo;
    CallingListener blocker([&, first = true]() mutable {
        if (std::exchange(first, false)) {
            isInside.set_value();
            mayGo.get_future().wait();
        }
    });
    dispatcher.Subscribe(&blocker);
    dispatcher.Post(State(1));
    isInside.get_future().wait();
    dispatcher.Post(State(2)); // queued after the blocked call
    RecordingListener late;
    dispatcher.Subscribe(&late);
    dispatcher.Post(State(3));
    mayGo.set_value();
    ASSERT_TRUE(late.WaitForState(3));
    EXPECT_EQ(late.States(), (std::vector<std::int32_t>{3}));
    dispatcher.Unsubscribe(&late);
    dispatcher.Unsubscribe(&blocker);
}

TEST(NotificationDispatcher, UnsubscribeWaitsForTheRunningCall)
{
    NotificationDispatcher dispatcher;
    std::promise<void> isInside;
    std::promise<void> mayGo;
    std::atomic<bool> hasLeft{false};
    auto listener = std::make_unique<CallingListener>([&] {
        isInside.set_value();
        mayGo.get_future().wait();
        hasLeft = true;
    });
    dispatcher.Subscribe(listener.get());
    dispatcher.Post(State(1));
    dispatcher.Post(State(2)); // must not be delivered
    isInside.get_future().wait();
    std::thread opener([&] { mayGo.set_value(); });
    dispatcher.Unsubscribe(listener.get());
    EXPECT_TRUE(hasLeft);
    listener.reset(); // a later call would be a use after free, or a second set_value
    opener.join();
}

TEST(NotificationDispatcher, UnsubscribeFromInsideACallDoesNotDeadlock)
{
    NotificationDispatcher dispatcher;
    int calls = 0;
    std::promise<void> isDone;
    std::unique_ptr<CallingListener> self;
    self = std::make_unique<CallingListener>([&] {
        ++calls;
        dispatcher.Unsubscribe(self.get());
        isDone.set_value();
    });
    RecordingListener witness;
    dispatcher.Subscribe(self.get());
    dispatcher.Subscribe(&witness);
    dispatcher.Post(State(1));
    dispatcher.Post(State(2));
    isDone.get_future().wait();
    ASSERT_TRUE(witness.WaitForState(2));
    dispatcher.Unsubscribe(&witness);
    EXPECT_EQ(calls, 1);
}

TEST(NotificationDispatcher, AListenerMayUnsubscribeAnother)
{
    NotificationDispatcher dispatcher;
    RecordingListener unsubscribed;
    RecordingListener witness;
    CallingListener unsubscriber([&] { dispatcher.Unsubscribe(&unsubscribed); });
    for (api::ISubscriable* listener :
         std::initializer_list<api::ISubscriable*>{&unsubscribed, &unsubscriber, &witness})
        dispatcher.Subscribe(listener);
    dispatcher.Post(State(1)); // the unsubscribed listener may still see it
    dispatcher.Post(State(2));
    ASSERT_TRUE(witness.WaitForState(2));
    for (const std::int32_t state : unsubscribed.States())
        EXPECT_NE(state, 2);
    dispatcher.Unsubscribe(&unsubscriber);
    dispatcher.Unsubscribe(&witness);
}

TEST(NotificationDispatcher, SurvivesAListenersException)
{
    NotificationDispatcher dispatcher;
    CallingListener thrower([] { throw std::runtime_error("mine"); });
    RecordingListener witness;
    dispatcher.Subscribe(&thrower);
    dispatcher.Subscribe(&witness);
    dispatcher.Post(State(1));
    dispatcher.Post(State(3));
    EXPECT_TRUE(witness.WaitForState(3));
    dispatcher.Unsubscribe(&thrower);
    dispatcher.Unsubscribe(&witness);
}

TEST(NotificationDispatcher, TheDestructorWaitsForTheRunningCall)
{
    std::promise<void> isInside;
    std::promise<void> mayGo;
    std::atomic<bool> hasLeft{false};
    CallingListener listener([&] {
        isInside.set_value();
        mayGo.get_future().wait();
        hasLeft = true;
    });
    auto dispatcher = std::make_unique<NotificationDispatcher>();
    dispatcher->Subscribe(&listener);
    dispatcher->Post(State(1));
    isInside.get_future().wait();
    std::thread opener([&] { mayGo.set_value(); });
    dispatcher.reset();
    EXPECT_TRUE(hasLeft);
    opener.join();
}

} // namespace kesdk::impl
