// The plug-in on a system that gives it no thread.
#include "support/GuiTestMain.h"
#include "support/TExpectedMessage.h"
#include "tests/plugin/TPluginFixture.h"

#include <QtTest/QtTest>

#include <limits>

#include <pthread.h>

namespace {

// While it lives, a new thread would get a stack that no address space has room for.
class TNoThreads
{
public:
    TNoThreads()
    {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        // Nearly the whole address space, also of a machine with 32 bits.
        constexpr std::size_t unit = 1 << 24;
        pthread_attr_setstacksize(&huge,
                                  (std::numeric_limits<std::size_t>::max() / unit - 1) * unit);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    ~TNoThreads()
    {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }

private:
    pthread_attr_t m_before{};
};

} // namespace

class tst_NoThread : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initialiseReturnsAndNoRequestIsAnswered();
};

void tst_NoThread::initialiseReturnsAndNoRequestIsAnswered()
{
    TPluginFixture f;
    {
        const TNoThreads none;
        const kelvo::test::TExpectedMessage warning(QStringLiteral("Thread creation error"),
                                                    QtCriticalMsg);
        f.Initialise();
    }
    QVERIFY(dll != nullptr);
    TKelvoInterface* const hub = GetKelvoInterface();
    QVERIFY(hub != nullptr);
    hub->OnLoginToKelvoRequested();
    QCoreApplication::processEvents();
    QVERIFY(!hub->IsKelvoLoggedIn());
    QVERIFY(f.Sdk().FactoryUrls().empty());

    Finalise();
    QVERIFY(dll == nullptr);
    QCOMPARE(GetKelvoInterface(), hub);
    f.Initialise();
    QVERIFY(GetKelvoInterface() != hub);
    delete hub;
}

KELVO_GUI_TEST_MAIN(tst_NoThread)
#include "tst_NoThread.moc"
