// The plug-in's entry points in the static library: the state after each call.
#include "support/GuiTestMain.h"
#include "tests/plugin/TPluginFixture.h"

#include "plugin/TKelvoDll.h"

#include <QtCore/QPointer>
#include <QtCore/QThread>
#include <QtTest/QtTest>

using fakes::FakeAbortCheck;
using fakes::FakeCall;
using fakes::FakeOperation;

class tst_EntryPoints : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void beforeInitialiseEverythingIsNull();
    void finaliseWithoutInitialiseDoesNothing();
    void initialiseSetsThePointers();
    void theHubLivesOnTheMainThreadWithoutAParent();
    void theWorkersThreadHasTheLowestPriority();
    void aSecondInitialiseReplacesOnlyLevelsAndFeatures();
    void finaliseRemovesTheSurfacesFirst();
    void finaliseLeavesNothing();
    void aSecondFinaliseDoesNothing();
    void aNewInitialiseBuildsEverythingAnew();
    void theRootObjectWorksWithoutTheEntryPoints();
};

void tst_EntryPoints::beforeInitialiseEverythingIsNull()
{
    QVERIFY(GetKelvoInterface() == nullptr);
    QVERIFY(KelvoInterface == nullptr);
    QVERIFY(dll == nullptr);
}

void tst_EntryPoints::finaliseWithoutInitialiseDoesNothing()
{
    const TPluginFixture f;
    Finalise();
    Finalise();
    QVERIFY(dll == nullptr);
    QVERIFY(f.windowManager.calls.isEmpty());
    QVERIFY(fakes::FakeKesdk::Instance().FactoryUrls().empty());
}

void tst_EntryPoints::initialiseSetsThePointers()
{
    TPluginFixture f;
    f.Initialise();
    QVERIFY(dll != nullptr);
    QVERIFY(KelvoInterface != nullptr);
    QCOMPARE(GetKelvoInterface(), KelvoInterface);
    QCOMPARE(UserLevels, static_cast<const TAppUserLevels*>(&f.levels));
    QCOMPARE(Features, static_cast<const TAppFeatures*>(&f.features));
    QVERIFY(f.windowManager.calls.isEmpty()); // CreateScreens adds the screens
}

void tst_EntryPoints::theHubLivesOnTheMainThreadWithoutAParent()
{
    TPluginFixture f;
    QVERIFY(f.InitialiseAndWait());
    QCOMPARE(KelvoInterface->thread(), thread());
    QVERIFY(KelvoInterface->parent() == nullptr);
}

void tst_EntryPoints::theWorkersThreadHasTheLowestPriority()
{
    TPluginFixture f;
    QThread::Priority priority = QThread::InheritPriority;
    QString name;
    f.Sdk().Script().OnCall(FakeOperation::eSubscribe, [&](const FakeCall&, const FakeAbortCheck&) {
        priority = QThread::currentThread()->priority();
        name = QThread::currentThread()->objectName();
    });
    QVERIFY(f.InitialiseAndWait());
    Finalise();
    QCOMPARE(priority, QThread::LowestPriority);
    QCOMPARE(name, QStringLiteral("KelvoThread"));
}

void tst_EntryPoints::aSecondInitialiseReplacesOnlyLevelsAndFeatures()
{
    TPluginFixture f;
    QVERIFY(f.InitialiseAndWait());
    TKelvoDll* const root = dll;
    TKelvoInterface* const hub = KelvoInterface;
    const hostimpl::TUserLevels otherLevels(hostimpl::TConfigStore::Process());
    const hostimpl::TFeatures otherFeatures(hostimpl::TConfigStore::Process());
    Initialise(nullptr, nullptr, QStringLiteral("another host"), &otherLevels, &otherFeatures);
    QCOMPARE(dll, root);
    QCOMPARE(KelvoInterface, hub);
    QCOMPARE(UserLevels, static_cast<const TAppUserLevels*>(&otherLevels));
    QCOMPARE(Features, static_cast<const TAppFeatures*>(&otherFeatures));
    Finalise();
    QCOMPARE(f.Sdk().FactoryUrls().size(), std::size_t(1));
}

// With the identifier of the registration, and before anything else is stopped.
void tst_EntryPoints::finaliseRemovesTheSurfacesFirst()
{
    TPluginFixture f;
    QVERIFY(f.InitialiseAndWait());
    bool hubWasThere = false;
    bool connectionWasThere = false;
    bool rootWasThere = false;
    f.windowManager.onRemove = [&] {
        hubWasThere = KelvoInterface != nullptr;
        connectionWasThere = f.Sdk().LiveCount() == 1;
        rootWasThere = dll != nullptr;
    };
    Finalise();
    QCOMPARE(f.windowManager.calls,
             QStringList{QStringLiteral("remove 9e5b9e35-77b2-4f19-acaa-5ce817b88895")});
    QVERIFY(hubWasThere);
    QVERIFY(connectionWasThere);
    QVERIFY(rootWasThere);
}

void tst_EntryPoints::finaliseLeavesNothing()
{
    TPluginFixture f;
    QVERIFY(f.InitialiseAndWait());
    const QPointer<TKelvoInterface> hub = KelvoInterface;
    Finalise();
    QVERIFY(hub.isNull());
    QVERIFY(dll == nullptr);
    QVERIFY(KelvoInterface == nullptr);
    QVERIFY(GetKelvoInterface() == nullptr);
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
}

void tst_EntryPoints::aSecondFinaliseDoesNothing()
{
    TPluginFixture f;
    QVERIFY(f.InitialiseAndWait());
    Finalise();
    Finalise();
    QVERIFY(dll == nullptr);
    QCOMPARE(f.windowManager.calls.size(), 1);
}

void tst_EntryPoints::aNewInitialiseBuildsEverythingAnew()
{
    TPluginFixture f;
    QVERIFY(f.InitialiseAndWait());
    Finalise();
    QVERIFY(f.InitialiseAndWait());
    QVERIFY(dll != nullptr);
    QCOMPARE(f.Sdk().FactoryUrls().size(), std::size_t(2));
    KelvoInterface->OnLoginToKelvoRequested();
    QVERIFY(f.WaitUntil([] { return KelvoInterface->IsKelvoLoggedIn(); }));
    Finalise();
    QVERIFY(KelvoInterface == nullptr);
}

// Calls through the host's base classes, as the host does.
void tst_EntryPoints::theRootObjectWorksWithoutTheEntryPoints()
{
    TPluginFixture f;
    TGen2DynamicLibrary* const root =
        new TKelvoDll(nullptr, &f.gps, f.features, QStringLiteral("Host"));
    QVERIFY(KelvoInterface != nullptr); // created by the constructor
    QVERIFY(f.Sdk().FactoryUrls().empty());
    TGen2Component* const component = root;
    component->PreInitialise();
    component->Initialise();
    component->PostInitialise();
    component->InitialiseSettings();
    component->Finalise();
    QVERIFY(KelvoInterface == nullptr);
    QCOMPARE(f.Sdk().FactoryUrls().size(), std::size_t(1));
    delete component;
    QVERIFY(dll == nullptr); // only the entry points set it
}

KELVO_GUI_TEST_MAIN(tst_EntryPoints)
#include "tst_EntryPoints.moc"
