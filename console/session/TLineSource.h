// Reads lines from a file descriptor as they arrive.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QSocketNotifier>

#include <functional>

namespace console {

// Thread: main; never blocks. Ownership: the caller owns the descriptor. Errors: a read error
// counts as the end. Text after the last line end is a line too.
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
