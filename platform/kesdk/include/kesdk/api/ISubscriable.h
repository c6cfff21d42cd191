// The base of the SDK's listeners: an object that names the kinds of events it wants.
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

// Base of all listener interfaces, always virtual: a class with several listener interfaces has one
// event set. Each interface adds its kind in its constructor.
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
