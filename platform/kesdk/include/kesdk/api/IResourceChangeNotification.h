// Listener for changes in the containers on the service.
#pragma once

#include "kesdk/api/ISubscriable.h"

#include <cstdint>

namespace kesdk::api {

// Called on the SDK's notification thread, never from inside a caller's own call.
class IResourceChangeNotification : public virtual ISubscriable
{
public:
    // Every change of a container's content is eContentChanged: an entry was added, removed or
    // replaced, by this console or by others.
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
        long resourceId = 0; // the changed entry; 0 if many entries may have changed
        std::int32_t containerKind = eUserInbox;
        unsigned long containerId = 0;
    };

    IResourceChangeNotification() { m_events.insert(eResourceChangeEvents); }

    virtual void onResourceChange(const ResourceChange& change) = 0;
};

} // namespace kesdk::api
