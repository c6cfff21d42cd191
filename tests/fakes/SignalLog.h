// Records every signal of the watched objects, in one order.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QWaitCondition>

#include <functional>

class QThread;

namespace fakes {

// One emission of a signal. Arguments of unregistered types are invalid variants.
struct LoggedSignal
{
    QString label; // the test's name of the sender
    QString name;
    QVariantList arguments;
    QThread* thread = nullptr; // of the emission
};

// Thread safety: safe. It records on the thread of the emission. It has to outlive the watched
// objects, or be deleted after their last signal.
class SignalLog : public QObject
{
public:
    // Watches all signals that the object's own class declares. Names() puts the label before the
    // name, unless the label is empty.
    void Watch(QObject* sender, const QString& label = QString());

    // Called for each signal, on its thread, within the emission. Set it before the first Watch().
    void OnEach(std::function<void(const LoggedSignal&)> observer) { m_observer = observer; }

    QList<LoggedSignal> All() const;
    // "label.Name" of each signal, in the order of emission.
    QStringList Names() const;
    // The same with the arguments as text: "Name(3,a.zip)"; lists in brackets.
    QStringList Texts() const;
    QList<LoggedSignal> Of(const QString& name) const;
    int Count(const QString& name) const { return Of(name).size(); }
    void Clear();

    // Runs the caller's event loop until `count` signals of this name are recorded. Returns false
    // after the hang guard of 30 s.
    bool WaitFor(const QString& name, int count = 1);

    // Declared without the macro: there is one slot at run time for each watched signal.
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;

private:
    struct TWatched
    {
        QObject* sender;
        int signalIndex;
        QString label;
    };

    std::function<void(const LoggedSignal&)> m_observer;
    mutable QMutex m_mutex; // guards both lists
    QWaitCondition m_added;
    QList<TWatched> m_watched;
    QList<LoggedSignal> m_signals;
};

} // namespace fakes
