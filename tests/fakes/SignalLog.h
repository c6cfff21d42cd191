// Records every signal of the objects it watches, in one order.
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

// One emission. Arguments of unregistered types are invalid variants.
struct LoggedSignal
{
    QString label; // of the sender, as the test named it
    QString name;
    QVariantList arguments;
    QThread* thread = nullptr; // that emitted
};

// Thread safety: records on whatever thread emits; may be asked from any thread. Lives longer than
// what it watches, or is deleted when nothing emits any more.
class SignalLog : public QObject
{
public:
    // All signals that the object's own class declares. The label goes before the names in Names(),
    // unless it is empty.
    void Watch(QObject* sender, const QString& label = QString());

    // Called for each signal, on its thread, within the emission. Set before anything is watched.
    void OnEach(std::function<void(const LoggedSignal&)> observer) { m_observer = observer; }

    QList<LoggedSignal> All() const;
    // "label.Name" of each, in the order of emission.
    QStringList Names() const;
    // The same with the arguments as text: "Name(3,a.zip)"; lists in brackets.
    QStringList Texts() const;
    QList<LoggedSignal> Of(const QString& name) const;
    int Count(const QString& name) const { return Of(name).size(); }
    void Clear();

    // Runs the caller's event loop until so many signals of this name are there. False if they did
    // not come within the hang guard of 30 s.
    bool WaitFor(const QString& name, int count = 1);

    // Not declared by the macro: the slots are made up at run time, one for each watched signal.
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
