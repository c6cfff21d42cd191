#include "support/TMessageTrap.h"

#include "support/TExpectedMessage.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLatin1String>
#include <QtCore/QMutex>
#include <QtCore/QStringList>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include <cstdio>

namespace {

struct TState
{
    QMutex mutex; // guards the rest
    QtMessageHandler next = nullptr;
    QStringList ofOtherThreads;
    int unexpected = 0;
};

TState& State()
{
    static TState& state = *new TState; // never destroyed: messages come until the process ends
    return state;
}

bool IsMainThread()
{
    const QCoreApplication* const application = QCoreApplication::instance();
    return application != nullptr && QThread::currentThread() == application->thread();
}

void Fail(const QString& message)
{
    const QByteArray text = "unexpected message: " + message.toUtf8();
    QTest::qFail(text.constData(), "", 0);
}

// Messages of the offscreen platform. The program cannot avoid them.
bool IsOfTheMissingDisplay(const QString& message)
{
    return message == QLatin1String("This plugin does not support propagateSizeHints()") ||
           message == QLatin1String("This plugin does not support raise()");
}

void Handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (IsOfTheMissingDisplay(message)) {
        return;
    }
    const bool isBad = type == QtWarningMsg || type == QtCriticalMsg;
    if ((isBad || type == QtInfoMsg) && kelvo::test::TExpectedMessage::Take(type, message)) {
        return;
    }
    const bool isForTest = IsMainThread() && QTest::currentTestFunction() != nullptr;
    {
        // The lock also keeps messages of several threads from mixing: QtTest's loggers do not
        // lock.
        const QMutexLocker lock(&State().mutex);
        if (isBad) {
            ++State().unexpected;
            if (!isForTest) {
                State().ofOtherThreads.append(message);
            }
        }
        if (State().next != nullptr) {
            State().next(type, context, message);
        } else {
            std::fprintf(stderr, "%s\n", qUtf8Printable(message));
        }
    }
    if (isBad && isForTest) {
        Fail(message);
    }
}

} // namespace

namespace kelvo::test {

void TMessageTrap::Install()
{
    const QtMessageHandler former = qInstallMessageHandler(Handle);
    const QMutexLocker lock(&State().mutex);
    // QtTest reinstalls this handler when it ends. Then its own handler must not be called any
    // more.
    State().next = former == Handle ? nullptr : former;
}

void TMessageTrap::FailForOtherThreads()
{
    QStringList messages;
    {
        const QMutexLocker lock(&State().mutex);
        messages.swap(State().ofOtherThreads);
    }
    for (const QString& message : qAsConst(messages)) {
        Fail(message);
    }
}

int TMessageTrap::UnexpectedCount()
{
    const QMutexLocker lock(&State().mutex);
    return State().unexpected;
}

} // namespace kelvo::test
