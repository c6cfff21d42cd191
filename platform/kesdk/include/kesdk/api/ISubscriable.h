// What a listener of the SDK is: an object that carries the kinds of events it wants.
#pragma once

#include <cstdint>
#include <set>

namespace kesdk::api {

enum EEventType : std::int32_t {
    eServerConnectionEvents = 1,
    eResourceChangeEvents = 2,
};

// Ordered, each kind at most once.
using EEventTypes = std::set<std::int32_t>;

// Base of all listener interfaces, always a virtual one: a class that implements several listeners
// has one event set, to which each listener interface adds its kind when it is constructed.
class ISubscriable
{
public:
    virtual ~ISubscriable() = default;

    const EEventTypes& SubscribedEvents() const { return m_events; }

protected:
    ISubscriable() = default;
    ISubscriable(const ISubscriable&) = delete;
    ISubscriable& operator=(const ISubscriable&) = delete;

    EEventTypes m_events;
};

} // namespace kesdk::api
