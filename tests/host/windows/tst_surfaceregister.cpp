// The register of surfaces: ownership, removal, signals.
#include "hostimpl/TSurfaceRegister.h"

#include "support/WidgetTestMain.h"

#include <QtCore/QPointer>
#include <QtTest/QSignalSpy>

#include <memory>

using hostimpl::TSurfaceRegister;
using ZRA::AppWindowSurface;
using ZRA::OrvaleID;

namespace {

const OrvaleID application(QUuid(QStringLiteral("{8a2e5a0e-6a4b-4b0e-9a55-2f3f0f9f5d11}")));
const OrvaleID otherApplication(QUuid(QStringLiteral("{1c8bb1a6-4f0e-4d0a-8a3f-6a7a3bb1c0de}")));

} // namespace

class tst_SurfaceRegister : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void keepsRegisteredSurfaces();
    void acceptsNullSurfaces();
    void removingDestroysTheSurfacesAtOnce();
    void removesOneApplicationOnly();
    void removingAnUnknownApplicationDoesNothing();
    void addsMiniViewsAndReplacesFullViewsOnRepeat();
    void forgetsSurfacesThatTheirParentDeletes();
    void aSurfaceMayRemoveItsApplicationInItsDestructor();
    void destructorDestroysAllSurfaces();
    void showsToolTips();
    void emitsSignalsInOrder();
    void surfacesKeepIconAndTitle();
};

void tst_SurfaceRegister::keepsRegisteredSurfaces()
{
    TSurfaceRegister surfaces;
    auto* const first = new AppWindowSurface;
    auto* const second = new AppWindowSurface;
    auto* const full = new AppWindowSurface;
    auto* const further = new AppWindowSurface;
    surfaces.AddWindowSurfaces(application, {first, second}, full, further);
    QCOMPARE(surfaces.Applications(), QList<OrvaleID>({application}));
    QCOMPARE(surfaces.MiniViews(application), QList<AppWindowSurface*>({first, second}));
    QCOMPARE(surfaces.FullView(application), full);
    QCOMPARE(surfaces.Further(application), further);
    QVERIFY(surfaces.MiniViews(otherApplication).isEmpty());
    QVERIFY(surfaces.FullView(otherApplication) == nullptr);
}

void tst_SurfaceRegister::acceptsNullSurfaces()
{
    TSurfaceRegister surfaces;
    surfaces.AddWindowSurfaces(application, {nullptr}, nullptr, nullptr);
    QCOMPARE(surfaces.Applications().size(), 1);
    QVERIFY(surfaces.MiniViews(application).isEmpty());
    QVERIFY(surfaces.FullView(application) == nullptr);
    surfaces.RemoveWindowSurfaces(application);
    QVERIFY(surfaces.Applications().isEmpty());
}

void tst_SurfaceRegister::removingDestroysTheSurfacesAtOnce()
{
    TSurfaceRegister surfaces;
    const QPointer<AppWindowSurface> mini = new AppWindowSurface;
    const QPointer<AppWindowSurface> full = new AppWindowSurface;
    const QPointer<AppWindowSurface> further = new AppWindowSurface;
    const QPointer<QWidget> child = new QWidget(full);
    surfaces.AddWindowSurfaces(application, {mini}, full, further);
    surfaces.RemoveWindowSurfaces(application);
    QVERIFY(mini.isNull());
    QVERIFY(full.isNull());
    QVERIFY(further.isNull());
    QVERIFY(child.isNull());
    QVERIFY(surfaces.Applications().isEmpty());
    QVERIFY(surfaces.FullView(application) == nullptr);
}

void tst_SurfaceRegister::removesOneApplicationOnly()
{
    TSurfaceRegister surfaces;
    const QPointer<AppWindowSurface> mini = new AppWindowSurface;
    const QPointer<AppWindowSurface> other = new AppWindowSurface;
    surfaces.AddWindowSurfaces(application, {mini}, nullptr, nullptr);
    surfaces.AddWindowSurfaces(otherApplication, {other}, nullptr, nullptr);
    surfaces.RemoveWindowSurfaces(application);
    QVERIFY(mini.isNull());
    QVERIFY(!other.isNull());
    QCOMPARE(surfaces.Applications(), QList<OrvaleID>({otherApplication}));
}

void tst_SurfaceRegister::removingAnUnknownApplicationDoesNothing()
{
    TSurfaceRegister surfaces;
    int gone = 0;
    connect(&surfaces, &TSurfaceRegister::SurfacesGone, this, [&gone] { ++gone; });
    surfaces.RemoveWindowSurfaces(application);
    surfaces.SetSurfaceToolTip(application, QStringLiteral("text"));
    surfaces.RemoveWindowSurfaces(application);
    QCOMPARE(gone, 0);
}

void tst_SurfaceRegister::addsMiniViewsAndReplacesFullViewsOnRepeat()
{
    TSurfaceRegister surfaces;
    auto* const mini = new AppWindowSurface;
    auto* const second = new AppWindowSurface;
    const QPointer<AppWindowSurface> full = new AppWindowSurface;
    auto* const newFull = new AppWindowSurface;
    surfaces.AddWindowSurfaces(application, {mini}, full, nullptr);
    surfaces.AddWindowSurfaces(application, {mini, second}, full, nullptr);
    QCOMPARE(surfaces.MiniViews(application), QList<AppWindowSurface*>({mini, second}));
    QVERIFY(!full.isNull());
    surfaces.AddWindowSurfaces(application, {}, newFull, nullptr);
    QVERIFY(full.isNull());
    QCOMPARE(surfaces.FullView(application), newFull);
    surfaces.AddWindowSurfaces(application, {}, nullptr, nullptr);
    QCOMPARE(surfaces.FullView(application), newFull);
}

void tst_SurfaceRegister::forgetsSurfacesThatTheirParentDeletes()
{
    TSurfaceRegister surfaces;
    auto parent = std::make_unique<QWidget>();
    auto* const mini = new AppWindowSurface(parent.get());
    auto* const full = new AppWindowSurface(parent.get());
    surfaces.AddWindowSurfaces(application, {mini}, full, nullptr);
    parent.reset();
    QVERIFY(surfaces.MiniViews(application).isEmpty());
    QVERIFY(surfaces.FullView(application) == nullptr);
    surfaces.SetSurfaceToolTip(application, QStringLiteral("text"));
    surfaces.RemoveWindowSurfaces(application);
}

void tst_SurfaceRegister::aSurfaceMayRemoveItsApplicationInItsDestructor()
{
    TSurfaceRegister surfaces;
    const QPointer<AppWindowSurface> mini = new AppWindowSurface;
    const QPointer<AppWindowSurface> full = new AppWindowSurface;
    connect(full, &QObject::destroyed, &surfaces,
            [&surfaces] { surfaces.RemoveWindowSurfaces(application); });
    surfaces.AddWindowSurfaces(application, {mini}, full, nullptr);
    surfaces.RemoveWindowSurfaces(application);
    QVERIFY(mini.isNull());
    QVERIFY(full.isNull());
}

void tst_SurfaceRegister::destructorDestroysAllSurfaces()
{
    const QPointer<AppWindowSurface> mini = new AppWindowSurface;
    const QPointer<AppWindowSurface> other = new AppWindowSurface;
    {
        TSurfaceRegister surfaces;
        surfaces.AddWindowSurfaces(application, {mini}, nullptr, nullptr);
        surfaces.AddWindowSurfaces(otherApplication, {}, other, nullptr);
    }
    QVERIFY(mini.isNull());
    QVERIFY(other.isNull());
}

void tst_SurfaceRegister::showsToolTips()
{
    TSurfaceRegister surfaces;
    auto* const mini = new AppWindowSurface;
    surfaces.SetSurfaceToolTip(application, QStringLiteral("before"));
    QVERIFY(surfaces.Applications().isEmpty());
    surfaces.AddWindowSurfaces(application, {mini}, nullptr, nullptr);
    QCOMPARE(surfaces.ToolTip(application), QStringLiteral("before"));
    QCOMPARE(mini->toolTip(), QStringLiteral("before"));
    int changes = 0;
    connect(&surfaces, &TSurfaceRegister::ToolTipChanged, this, [&changes] { ++changes; });
    surfaces.SetSurfaceToolTip(application, QStringLiteral("after"));
    QCOMPARE(mini->toolTip(), QStringLiteral("after"));
    QCOMPARE(changes, 1);
    surfaces.RemoveWindowSurfaces(application);
    QVERIFY(surfaces.ToolTip(application).isEmpty());
}

void tst_SurfaceRegister::emitsSignalsInOrder()
{
    TSurfaceRegister surfaces;
    QStringList emitted;
    connect(&surfaces, &TSurfaceRegister::SurfacesAdded, this, [&](const OrvaleID& id) {
        emitted.append(QStringLiteral("added %1").arg(surfaces.MiniViews(id).size()));
    });
    connect(&surfaces, &TSurfaceRegister::SurfacesAboutToGo, this, [&](const OrvaleID& id) {
        emitted.append(QStringLiteral("about to go %1").arg(surfaces.MiniViews(id).size()));
    });
    connect(&surfaces, &TSurfaceRegister::SurfacesGone, this, [&](const OrvaleID& id) {
        emitted.append(QStringLiteral("gone %1").arg(surfaces.MiniViews(id).size()));
    });
    surfaces.AddWindowSurfaces(application, {new AppWindowSurface}, nullptr, nullptr);
    surfaces.RemoveWindowSurfaces(surfaces.Applications().first());
    QCOMPARE(emitted, QStringList({QStringLiteral("added 1"), QStringLiteral("about to go 1"),
                                   QStringLiteral("gone 0")}));
}

void tst_SurfaceRegister::surfacesKeepIconAndTitle()
{
    AppWindowSurface surface;
    const QSignalSpy titles(&surface, &AppWindowSurface::SurfaceTitleChanged);
    QVERIFY(surface.IsAvailable());
    QVERIFY(surface.SurfaceIcon().isEmpty());
    QVERIFY(!surface.IsSetUp());
    surface.Setup();
    QVERIFY(surface.IsSetUp());
    surface.SetSurfaceIcon(QStringLiteral("icon"));
    surface.SetSurfaceTitle(QStringLiteral("title"), true, false);
    QCOMPARE(surface.SurfaceIcon(), QStringLiteral("icon"));
    QCOMPARE(surface.SurfaceTitle(), QStringLiteral("title"));
    QVERIFY(surface.IsStateShown());
    QVERIFY(!surface.IsHelpShown());
    QCOMPARE(titles.count(), 1);
}

KELVO_WIDGET_TEST_MAIN(tst_SurfaceRegister)
#include "tst_surfaceregister.moc"
