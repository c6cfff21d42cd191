// Access to the window manager with and without a registered manager, and a component's phases.
#include "hostimpl/WindowManager.h"

#include "host/TGen2DynamicLibrary.h"
#include "support/TestMain.h"

#include <memory>

namespace {

const ZRA::OrvaleID application(QUuid(QStringLiteral("{8a2e5a0e-6a4b-4b0e-9a55-2f3f0f9f5d11}")));

class TCountingManager final : public TWindowManagerApi
{
public:
    void AddWindowSurfaces(const ZRA::OrvaleID&, const QList<ZRA::AppWindowSurface*>&,
                           ZRA::AppWindowSurface*, ZRA::AppWindowSurface*) override
    {
        ++added;
    }
    void RemoveWindowSurfaces(const ZRA::OrvaleID&) override { ++removed; }
    void SetSurfaceToolTip(const ZRA::OrvaleID&, const QString&) override { ++toolTips; }

    int added = 0;
    int removed = 0;
    int toolTips = 0;
};

class TComponent final : public TGen2Component
{
public:
    void Initialise() override { isInitialised = true; }
    bool isInitialised = false;
};

} // namespace

class tst_WindowManager : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void doesNothingWithoutAManager();
    void warnsOfSurfacesWithoutAManager();
    void callsTheRegisteredManager();
    void doesNotCallADestroyedManager();
    void comparesIdsByValue();
    void phasesDoNothingByDefault();
};

void tst_WindowManager::doesNothingWithoutAManager()
{
    TWindowManagerApi& manager = TWindowManagerApi::Instance();
    manager.AddWindowSurfaces(application, {}, nullptr, nullptr);
    manager.SetSurfaceToolTip(application, QStringLiteral("text"));
    manager.RemoveWindowSurfaces(application);
    QCOMPARE(&TWindowManagerApi::Instance(), &manager);
}

void tst_WindowManager::warnsOfSurfacesWithoutAManager()
{
    const kelvo::test::TExpectedMessage expected(application.Uuid().toString());
    int notASurface = 0;
    auto* const surface = reinterpret_cast<ZRA::AppWindowSurface*>(&notASurface);
    TWindowManagerApi::Instance().AddWindowSurfaces(application, {surface}, nullptr, nullptr);
    TWindowManagerApi::Instance().AddWindowSurfaces(application, {}, surface, nullptr);
    TWindowManagerApi::Instance().AddWindowSurfaces(application, {}, nullptr, surface);
    QCOMPARE(expected.Count(), 3);
}

void tst_WindowManager::callsTheRegisteredManager()
{
    TWindowManagerApi* const none = &TWindowManagerApi::Instance();
    TCountingManager manager;
    hostimpl::SetWindowManager(&manager);
    TWindowManagerApi::Instance().AddWindowSurfaces(application, {}, nullptr, nullptr);
    TWindowManagerApi::Instance().SetSurfaceToolTip(application, QStringLiteral("text"));
    TWindowManagerApi::Instance().RemoveWindowSurfaces(application);
    hostimpl::SetWindowManager(nullptr);
    QCOMPARE(manager.added, 1);
    QCOMPARE(manager.toolTips, 1);
    QCOMPARE(manager.removed, 1);
    QCOMPARE(&TWindowManagerApi::Instance(), none);
}

void tst_WindowManager::doesNotCallADestroyedManager()
{
    TWindowManagerApi* const none = &TWindowManagerApi::Instance();
    auto manager = std::make_unique<TCountingManager>();
    auto other = std::make_unique<TCountingManager>();
    hostimpl::SetWindowManager(manager.get());
    other.reset();
    QCOMPARE(&TWindowManagerApi::Instance(), manager.get());
    manager.reset();
    QCOMPARE(&TWindowManagerApi::Instance(), none);
}

void tst_WindowManager::comparesIdsByValue()
{
    QVERIFY(application == ZRA::OrvaleID(application.Uuid()));
    QVERIFY(application != ZRA::OrvaleID(QUuid::createUuid()));
}

void tst_WindowManager::phasesDoNothingByDefault()
{
    TComponent component;
    TGen2Component& base = component;
    base.PreInitialise();
    base.Initialise();
    base.PostInitialise();
    base.InitialiseSettings();
    base.Finalise();
    QVERIFY(component.isInitialised);
    TGen2DynamicLibrary library(nullptr);
    library.InitialiseSettings();
    library.CreateScreens();
    library.Finalise();
}

KELVO_TEST_MAIN(tst_WindowManager)
#include "tst_windowmanager.moc"
