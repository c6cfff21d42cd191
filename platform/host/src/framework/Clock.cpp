// The console's clock: the system's clock unless SetClock() has replaced it.
#include "hostimpl/Clock.h"

#include "host/TLocalTime.h"

#include <QtCore/QMutex>

namespace {

struct TClockHolder
{
    QMutex mutex; // guards clock
    hostimpl::TClock clock;
};

TClockHolder& Holder()
{
    static TClockHolder& holder = *new TClockHolder; // outlives every thread that reads the clock
    return holder;
}

} // namespace

QDateTime TLocalTime::currentDateTime()
{
    hostimpl::TClock clock;
    {
        const QMutexLocker lock(&Holder().mutex);
        clock = Holder().clock;
    }
    return clock ? clock() : QDateTime::currentDateTime();
}

void hostimpl::SetClock(TClock clock)
{
    const QMutexLocker lock(&Holder().mutex);
    Holder().clock = std::move(clock);
}
