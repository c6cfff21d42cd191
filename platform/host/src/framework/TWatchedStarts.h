// The count behind a TStartWatch: the objects that are started and not yet initialised.
#pragma once

#include <QtCore/QMutex>

#include <functional>
#include <memory>

namespace hostimpl {

class TStartWatch;

// Thread: any.
class TWatchedStarts
{
public:
    explicit TWatchedStarts(TStartWatch* watch) : m_watch(watch) {}

    // The count of the TStartWatch::Run() that runs on this thread; null outside of a Run().
    static std::shared_ptr<TWatchedStarts> OfThisThread();

    // Adds an object that is about to be initialised.
    void Add();
    // Removes an initialised object. The last removal makes the watch emit AllInitialised().
    void Remove();
    bool IsEmpty() const;
    // The watch is about to be destroyed.
    void ForgetWatch();

private:
    mutable QMutex m_mutex; // guards what follows
    int m_count = 0;
    bool m_hasRun = false;
    TStartWatch* m_watch;
};

} // namespace hostimpl
