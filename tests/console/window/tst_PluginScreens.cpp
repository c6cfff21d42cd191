// The places of a plug-in's surfaces in the window.
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TPluginScreens.h"
#include "console/window/TSampleSurface.h"
#include "hostimpl/TSurfaceRegister.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QPointer>
#include <QtTest/QSignalSpy>

#include <memory>

class TPluginScreensTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    const ZRA::OrvaleID m_application{
        QUuid(QStringLiteral("{00000000-0000-0000-0000-000000000007}"))};
    std::unique_ptr<hostimpl::TSurfaceRegister> m_register;
    std::unique_ptr<console::TMainWindow> m_window;
    std::unique_ptr<console::TPluginScreens> m_screens;
    QPointer<TSampleSurface> m_mini;
    QPointer<TSampleSurface> m_full;

    void Add() { m_register->AddWindowSurfaces(m_application, {m_mini}, m_full, nullptr); }
    console::TIconButton* Button() { return m_window->Launcher().PageButton(m_full); }

private Q_SLOTS:
    void init()
    {
        m_register = std::make_unique<hostimpl::TSurfaceRegister>();
        m_window = std::make_unique<console::TMainWindow>();
        m_screens = std::make_unique<console::TPluginScreens>(*m_register, *m_window);
        m_mini = new TSampleSurface;
        m_full = new TSampleSurface;
        m_window->show();
    }

    void cleanup()
    {
        m_screens.reset();
        m_window.reset();
        m_register.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        delete m_mini.data();
        delete m_full.data();
        TTestCase::cleanup();
    }

    void docksAMiniViewAndSetsItUpOnce()
    {
        Add();
        QVERIFY(m_mini->isVisible());
        QVERIFY(m_window->Dock().isAncestorOf(m_mini));
        QVERIFY(!m_mini->wasShownBefore);
        Add();
        m_screens->Refresh();
        QCOMPARE(m_mini->setUps, 1);
    }

    void setsUpAFullViewWhenItIsFirstOpened()
    {
        Add();
        QVERIFY(Button() != nullptr);
        QCOMPARE(Button()->IconName(), QStringLiteral("NavKelvo"));
        QCOMPARE(m_full->setUps, 0);
        QVERIFY(!m_full->isVisible());
        Button()->click();
        QVERIFY(m_full->isVisible() && Button()->isChecked());
        QVERIFY(!m_full->wasShownBefore);
        m_window->Launcher().HomeButton()->click();
        QVERIFY(!m_full->isVisible() && !Button()->isChecked());
        Button()->click();
        QCOMPARE(m_full->setUps, 1);
    }

    void showsOnlyAvailableSurfaces()
    {
        m_mini->isAvailable = false;
        m_full->isAvailable = false;
        Add();
        QVERIFY(!m_mini->isVisible() && Button() == nullptr);
        QCOMPARE(m_mini->setUps + m_full->setUps, 0);
        m_mini->isAvailable = true;
        m_full->isAvailable = true;
        m_screens->Refresh();
        QVERIFY(m_mini->isVisible() && Button() != nullptr);
    }

    void removesASurfaceThatIsNoLongerAvailable()
    {
        Add();
        Button()->click();
        m_mini->isAvailable = false;
        m_full->isAvailable = false;
        m_screens->Refresh();
        QVERIFY(!m_mini->isVisible() && !m_full->isVisible() && Button() == nullptr);
        QVERIFY(m_window->CurrentPage() == nullptr);
        m_full->isAvailable = true;
        m_screens->Refresh();
        Button()->click();
        QVERIFY(m_full->isVisible());
        QCOMPARE(m_full->setUps, 1);
    }

    void doesNotOpenAPageThatIsNoLongerAvailable()
    {
        Add();
        m_full->isAvailable = false;
        Button()->click();
        QVERIFY(!m_full->isVisible() && Button() == nullptr);
        QCOMPARE(m_full->setUps, 0);
    }

    void showsToolTips()
    {
        m_register->SetSurfaceToolTip(m_application, QStringLiteral("before"));
        Add();
        QCOMPARE(m_mini->toolTip(), QStringLiteral("before"));
        QCOMPARE(Button()->toolTip(), QStringLiteral("before"));
        m_register->SetSurfaceToolTip(m_application, QStringLiteral("after"));
        QCOMPARE(m_mini->toolTip(), QStringLiteral("after"));
        QCOMPARE(Button()->toolTip(), QStringLiteral("after"));
    }

    void showsANewTitleAndIcon()
    {
        Add();
        m_full->SetSurfaceTitle(QStringLiteral("Another"), false, false);
        m_full->SetSurfaceIcon(QStringLiteral("save"));
        QCOMPARE(Button()->text(), QStringLiteral("Another"));
        QCOMPARE(Button()->IconName(), QStringLiteral("save"));
    }

    void namesAPageWithoutATitleByItsIcon()
    {
        m_full->SetSurfaceTitle(QString(), false, false);
        Add();
        QCOMPARE(Button()->text(), QStringLiteral("KELVO"));
    }

    void releasesSurfacesThatAreRemovedWhileShown()
    {
        Add();
        Button()->click();
        QVERIFY(m_full->isVisible());
        m_register->RemoveWindowSurfaces(m_application);
        QVERIFY(m_mini.isNull() && m_full.isNull());
        QVERIFY(m_window->Dock().IsEmpty());
        QVERIFY(m_window->CurrentPage() == nullptr);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_window->grab();
    }

    void outlivesSurfacesThatAreDestroyedByOthers()
    {
        Add();
        Button()->click();
        delete m_full.data();
        delete m_mini.data();
        QVERIFY(m_window->Dock().IsEmpty());
        QVERIFY(m_window->CurrentPage() == nullptr);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_window->grab();
    }

    void hidesASurfaceThatThrowsAtItsSetUp()
    {
        QSignalSpy failed(m_screens.get(), &console::TPluginScreens::Failed);
        m_mini->throws = true;
        Add();
        QCOMPARE(failed.count(), 1);
        QVERIFY(failed.at(0).at(0).toString().contains(QStringLiteral("no room")));
        QVERIFY(!m_mini->isVisible());
        m_screens->Refresh();
        QCOMPARE(m_mini->setUps, 1);
        Button()->click();
        QVERIFY(m_full->isVisible());
    }
};

KELVO_WIDGET_TEST_MAIN(TPluginScreensTest)
#include "tst_PluginScreens.moc"
