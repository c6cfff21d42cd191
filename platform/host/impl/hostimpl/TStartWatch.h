// Reports that threaded objects have been initialised.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QObject>

#include <functional>
#include <memory>

namespace hostimpl {

class TWatchedStarts;

// Watches the threaded objects that a component starts, so that a console knows when the component
// takes requests.
//
// Thread: the thread that constructs it, which must run an event loop.
class CONSOLEHOST_EXPORT TStartWatch : public QObject
{
    Q_OBJECT

public:
    TStartWatch();
    // Watched objects may still be starting.
    ~TStartWatch() override;

    // Calls `start` and watches each object whose TThreadedObject::start() is called in it, on this
    // thread. Passes on an exception of `start`.
    void Run(const std::function<void()>& start);
    // Whether Run() has returned and Initialize() of every watched object has returned. From any
    // thread.
    bool AreAllInitialised() const;

Q_SIGNALS:
    // Emitted from the event loop, once after each Run(): Initialize() of every watched object has
    // returned. The objects have made their connections and take queued calls.
    void AllInitialised();

private:
    const std::shared_ptr<TWatchedStarts> m_starts;
};

} // namespace hostimpl
