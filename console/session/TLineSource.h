// Reads lines from a file descriptor as they come.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QSocketNotifier>

#include <functional>

namespace console {

// Thread: main; never blocks it. Ownership: the descriptor stays the caller's. Errors: a read error
// counts as the end. A last line without its end is a line.
class TLineSource : public QObject
{
    Q_OBJECT

public:
    using TOnLine = std::function<void(const QString& line)>;
    using TOnEnd = std::function<void()>;

    TLineSource(int descriptor, TOnLine onLine, TOnEnd onEnd);

private:
    void OnReadable();
    void DeliverLines();

    TOnLine m_onLine;
    TOnEnd m_onEnd;
    QByteArray m_pending; // the beginning of a line
    QSocketNotifier m_notifier;
};

} // namespace console
