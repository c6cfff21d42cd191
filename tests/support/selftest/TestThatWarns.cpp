// A test program that has to fail. Each test function is named after the reason of its failure.
#include "support/TestMain.h"

#include <QtCore/QThread>

#include <memory>

class TestThatWarns : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void passes() { QVERIFY(true); }
    void warns() { qWarning("said on the main thread"); }
    void warnsOnAnotherThread()
    {
        const std::unique_ptr<QThread> thread(
            QThread::create([] { qCritical("said on another thread"); }));
        thread->start();
        QVERIFY(thread->wait());
    }
    void expectsAWarningThatDoesNotCome()
    {
        const kelvo::test::TExpectedMessage expected(QStringLiteral("never said"));
    }
    void warnsAsExpected()
    {
        const kelvo::test::TExpectedMessage expected(QStringLiteral("well known"));
        qWarning("this is well known");
        QCOMPARE(expected.Count(), 1);
    }
    void warnsWhenDestroyed() { m_warnsAtEnd = true; }

public:
    ~TestThatWarns() override
    {
        if (m_warnsAtEnd) {
            qWarning("said at the end");
        }
    }

private:
    bool m_warnsAtEnd = false;
};

KELVO_TEST_MAIN(TestThatWarns)
#include "TestThatWarns.moc"
