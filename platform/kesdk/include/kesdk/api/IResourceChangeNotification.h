// Listener for changes of what containers on the service hold.
#pragma once

#include "kesdk/api/ISubscriable.h"

#include <cstdint>

namespace kesdk::api {

// Called on the SDK's notification thread, never from inside a caller's own call.
class IResourceChangeNotification : public virtual ISubscriable
{
public:
    // Every change of a container's content is reported as eContentChanged: an entry added, removed
    // or replaced, whoever caused it.
    enum EChangeKind : std::int32_t {
        eContentChanged = 4,
    };

    enum EContainerKind : std::int32_t {
        eProjectInbox = 1,
        eUserInbox = 2,
    };

    struct ResourceChange
    {
        std::int32_t changeKind = eContentChanged;
        long resourceId = 0; // the entry that changed; 0 when many may have
        std::int32_t containerKind = eUserInbox;
        unsigned long containerId = 0;
    };

    IResourceChangeNotification() { m_events.insert(eResourceChangeEvents); }

    virtual void onResourceChange(const ResourceChange& change) = 0;
};

} // namespace kesdk::api
