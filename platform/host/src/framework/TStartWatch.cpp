#include "hostimpl/TStartWatch.h"

#include "framework/TWatchedStarts.h"

#include <QtCore/QMutexLocker>

namespace {

thread_local std::shared_ptr<hostimpl::TWatchedStarts>* runningStarts = nullptr;

} // namespace

namespace hostimpl {

std::shared_ptr<TWatchedStarts> TWatchedStarts::OfThisThread()
{
    return runningStarts == nullptr ? nullptr : *runningStarts;
}

void TWatchedStarts::Add()
{
    const QMutexLocker lock(&m_mutex);
    ++m_count;
}

void TWatchedStarts::Remove()
{
    const QMutexLocker lock(&m_mutex);
    --m_count;
    m_hasRun = true;
    if (m_count == 0 && m_watch != nullptr) {
        QMetaObject::invokeMethod(m_watch, &TStartWatch::AllInitialised, Qt::QueuedConnection);
    }
}

bool TWatchedStarts::IsEmpty() const
{
    const QMutexLocker lock(&m_mutex);
    return m_hasRun && m_count == 0;
}

void TWatchedStarts::ForgetWatch()
{
    const QMutexLocker lock(&m_mutex);
    m_watch = nullptr;
}

TStartWatch::TStartWatch() : m_starts(std::make_shared<TWatchedStarts>(this)) {}

TStartWatch::~TStartWatch()
{
    m_starts->ForgetWatch();
}

// Run() counts as one more object: an object that is initialised before `start` returns does not
// empty the count.
void TStartWatch::Run(const std::function<void()>& start)
{
    struct TScope
    {
        explicit TScope(std::shared_ptr<TWatchedStarts> starts)
            : m_starts(std::move(starts)), m_outer(runningStarts)
        {
            m_starts->Add();
            runningStarts = &m_starts;
        }
        ~TScope()
        {
            runningStarts = m_outer;
            m_starts->Remove();
        }
        Q_DISABLE_COPY_MOVE(TScope)

        std::shared_ptr<TWatchedStarts> m_starts;
        std::shared_ptr<TWatchedStarts>* m_outer;
    };
    const TScope scope(m_starts);
    start();
}

bool TStartWatch::AreAllInitialised() const
{
    return m_starts->IsEmpty();
}

} // namespace hostimpl
