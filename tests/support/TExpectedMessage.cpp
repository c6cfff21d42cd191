#include "support/TExpectedMessage.h"

#include <QtCore/QMutex>
#include <QtCore/QVector>
#include <QtTest/QTest>

namespace {

struct TRegister
{
    QMutex mutex; // guards the list and the counts of its messages
    QVector<kelvo::test::TExpectedMessage*> expected;
};

TRegister& Register()
{
    static TRegister& expectations =
        *new TRegister; // never destroyed: messages come until the process ends
    return expectations;
}

} // namespace

namespace kelvo::test {

TExpectedMessage::TExpectedMessage(const QString& part, QtMsgType type) : m_part(part), m_type(type)
{
    const QMutexLocker lock(&Register().mutex);
    Register().expected.append(this);
}

TExpectedMessage::~TExpectedMessage()
{
    {
        const QMutexLocker lock(&Register().mutex);
        Register().expected.removeOne(this);
    }
    if (m_count == 0) {
        const QByteArray text = "expected message did not come: " + m_part.toUtf8();
        QTest::qFail(text.constData(), "", 0);
    }
}

int TExpectedMessage::Count() const
{
    const QMutexLocker lock(&Register().mutex);
    return m_count;
}

bool TExpectedMessage::Take(QtMsgType type, const QString& message)
{
    const QMutexLocker lock(&Register().mutex);
    for (TExpectedMessage* const each : qAsConst(Register().expected)) {
        if (each->m_type == type && message.contains(each->m_part)) {
            ++each->m_count;
            return true;
        }
    }
    return false;
}

} // namespace kelvo::test
