// The slots exist only at run time: qt_metacall handles them.
#include "tests/fakes/SignalLog.h"

#include "core/KelvoRecords.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QMetaMethod>
#include <QtCore/QThread>

namespace fakes {

namespace {

constexpr int HANG_GUARD_MS = 30000;
constexpr unsigned long WAIT_STEP_MS = 1;

QString TextOf(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<KelvoFileInfoList>()) {
        const auto list = value.value<KelvoFileInfoList>();
        QStringList texts;
        for (int i = 0; i < list.fileIds.size(); ++i)
            texts << QStringLiteral("%1:%2").arg(list.fileIds[i]).arg(list.fileNames.value(i));
        return QLatin1Char('[') + texts.join(QLatin1Char(' ')) + QLatin1Char(']');
    }
    if (value.userType() == qMetaTypeId<KelvoFileTransferErrorDetailsList>()) {
        QStringList texts;
        for (const auto& error : value.value<KelvoFileTransferErrorDetailsList>())
            texts << error.fileName + QLatin1Char(':') + error.errorMsg;
        return QLatin1Char('[') + texts.join(QLatin1Char('|')) + QLatin1Char(']');
    }
    if (value.userType() == QMetaType::QStringList)
        return QLatin1Char('[') + value.toStringList().join(QLatin1Char(' ')) + QLatin1Char(']');
    return value.toString();
}

} // namespace

void SignalLog::Watch(QObject* sender, const QString& label)
{
    const QMetaObject* meta = sender->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        if (meta->method(i).methodType() != QMetaMethod::Signal)
            continue;
        int slot = 0;
        {
            const QMutexLocker lock(&m_mutex);
            slot = m_watched.size();
            m_watched.append({sender, i, label});
        }
        QMetaObject::connect(sender, i, this, QObject::staticMetaObject.methodCount() + slot,
                             Qt::DirectConnection);
    }
}

int SignalLog::qt_metacall(QMetaObject::Call call, int id, void** arguments)
{
    id = QObject::qt_metacall(call, id, arguments);
    if (id < 0 || call != QMetaObject::InvokeMetaMethod)
        return id;
    QMutexLocker lock(&m_mutex);
    const TWatched watched = m_watched.at(id);
    const QMetaMethod signal = watched.sender->metaObject()->method(watched.signalIndex);
    LoggedSignal logged;
    logged.label = watched.label;
    logged.name = QString::fromLatin1(signal.name());
    logged.thread = QThread::currentThread();
    for (int i = 0; i < signal.parameterCount(); ++i)
        logged.arguments.append(QVariant(signal.parameterType(i), arguments[i + 1]));
    m_signals.append(logged);
    m_added.wakeAll();
    lock.unlock();
    if (m_observer)
        m_observer(logged);
    return -1;
}

QList<LoggedSignal> SignalLog::All() const
{
    const QMutexLocker lock(&m_mutex);
    // A deep copy, because a shared copy would be released without the lock.
    QList<LoggedSignal> copy = m_signals;
    copy.detach();
    return copy;
}

QStringList SignalLog::Names() const
{
    QStringList names;
    for (const LoggedSignal& signal : All())
        names << (signal.label.isEmpty() ? signal.name
                                         : signal.label + QLatin1Char('.') + signal.name);
    return names;
}

QStringList SignalLog::Texts() const
{
    QStringList texts;
    for (const LoggedSignal& signal : All()) {
        QStringList arguments;
        for (const QVariant& argument : signal.arguments)
            arguments << TextOf(argument);
        texts << (signal.label.isEmpty() ? QString() : signal.label + QLatin1Char('.')) +
                     signal.name + QLatin1Char('(') + arguments.join(QLatin1Char(',')) +
                     QLatin1Char(')');
    }
    return texts;
}

QList<LoggedSignal> SignalLog::Of(const QString& name) const
{
    QList<LoggedSignal> found;
    for (const LoggedSignal& signal : All()) {
        if (signal.name == name)
            found.append(signal);
    }
    return found;
}

void SignalLog::Clear()
{
    const QMutexLocker lock(&m_mutex);
    m_signals.clear();
}

bool SignalLog::WaitFor(const QString& name, int count)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (Count(name) < count) {
        if (elapsed.elapsed() > HANG_GUARD_MS)
            return false;
        QCoreApplication::processEvents();
        QMutexLocker lock(&m_mutex);
        m_added.wait(&m_mutex, WAIT_STEP_MS);
    }
    return true;
}

} // namespace fakes
