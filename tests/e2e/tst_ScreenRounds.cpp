// The real libkelvo.so with its screens, initialised and finalised many times in one process with a
// running service. test_rounds.py starts the service and runs this program.
#include "support/WidgetTestMain.h"
#include "tests/e2e/TRounds.h"

#include "host/AppWindowSurface.h"
#include "host/TGen2DynamicLibrary.h"

#include <QtTest/QtTest>

namespace {

// Qt 5 never deletes the recognizer that QScroller::grabGesture() makes, an object of two pointers.
// Three of the screens' lists can be scrolled.
constexpr double QT_LEAK_BYTES = 3 * 4 * sizeof(void*);
// The leaked objects fragment the heap. Gaps that are too small for use count as allocated, about
// 8 bytes a round.
constexpr double GAP_BYTES = 16;

// Shows the surfaces when they are added, and destroys them when they are removed, as the contract
// requires.
class TShowingManager final : public TWindowManagerApi
{
public:
    TShowingManager() { hostimpl::SetWindowManager(this); }
    ~TShowingManager() override { hostimpl::SetWindowManager(nullptr); }

    void AddWindowSurfaces(const ZRA::OrvaleID&, const QList<ZRA::AppWindowSurface*>& miniSurfaces,
                           ZRA::AppWindowSurface* fullSurface, ZRA::AppWindowSurface*) override
    {
        surfaces = miniSurfaces;
        surfaces.append(fullSurface);
        for (ZRA::AppWindowSurface* surface : qAsConst(surfaces)) {
            surface->Setup();
            surface->show();
        }
    }
    void RemoveWindowSurfaces(const ZRA::OrvaleID&) override
    {
        qDeleteAll(surfaces);
        surfaces.clear();
    }
    void SetSurfaceToolTip(const ZRA::OrvaleID&, const QString&) override {}

    QList<ZRA::AppWindowSurface*> surfaces;
};

} // namespace

class tst_ScreenRounds : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void leaksNothingWithScreensAndASession();

private:
    TRounds m_rounds;
    TShowingManager m_manager; // replaces the plug-in's usual window manager
};

void tst_ScreenRounds::initTestCase()
{
    const QString problem = m_rounds.Load();
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
}

void tst_ScreenRounds::leaksNothingWithScreensAndASession()
{
    const QString problem = m_rounds.Run(TRounds::Count(), [this](int) {
        m_rounds.Plugin().Data<TGen2DynamicLibrary>("dll")->CreateScreens();
        return m_manager.surfaces.size() == 2 && m_rounds.LogIn();
    });
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
    qInfo("%s", qPrintable(m_rounds.Record().ToText()));
    const QString growth = m_rounds.Growth(QT_LEAK_BYTES + GAP_BYTES);
    QVERIFY2(growth.isEmpty(), qPrintable(growth));
}

KELVO_WIDGET_TEST_MAIN(tst_ScreenRounds)
#include "tst_ScreenRounds.moc"
