// The full view around the file controller.
#include "support/WidgetTestMain.h"
#include "tests/screens/THubFixture.h"
#include "tests/screens/TTaggingTranslator.h"

#include "screens/TKelvoFileControlWidget.h"
#include "screens/TKelvoFullView.h"

#include <QtCore/QPointer>
#include <QtTest/QtTest>
#include <QtWidgets/QVBoxLayout>

class tst_FullView : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void hasAnIconAndNoTitleBeforeSetup();
    void setupTitlesAndFillsIt();
    void theTitleIsTranslatedInTheViewsContext();
    void buildsNothingBeforeSetup();
    void canBeShownBeforeSetup();
    void deletesTheControllerWithItself();
};

namespace {

TKelvoFileControlWidget* ControllerOf(const TKelvoFullView& view)
{
    return view.findChild<TKelvoFileControlWidget*>(QString(), Qt::FindDirectChildrenOnly);
}

} // namespace

void tst_FullView::hasAnIconAndNoTitleBeforeSetup()
{
    const THubFixture around;
    TKelvoFullView view(nullptr);
    QCOMPARE(view.SurfaceIcon(), QStringLiteral("NavKelvo"));
    QCOMPARE(view.SurfaceTitle(), QString());
    QVERIFY(!view.IsSetUp());
    QVERIFY(view.IsAvailable());
}

void tst_FullView::setupTitlesAndFillsIt()
{
    const THubFixture around;
    TKelvoFullView view(nullptr);
    view.Setup();
    QVERIFY(view.IsSetUp());
    QCOMPARE(view.SurfaceTitle(), QStringLiteral("KELVO File Controller"));
    QVERIFY(!view.IsStateShown() && !view.IsHelpShown());
    auto* const layout = qobject_cast<QVBoxLayout*>(view.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 10));
    QCOMPARE(layout->count(), 1);
    QCOMPARE(layout->itemAt(0)->widget(), ControllerOf(view));
}

void tst_FullView::theTitleIsTranslatedInTheViewsContext()
{
    const TTaggingTranslator translator;
    const THubFixture around;
    TKelvoFullView view(nullptr);
    view.Setup();
    QCOMPARE(view.SurfaceTitle(), QStringLiteral("{TKelvoFullView|}KELVO File Controller"));
}

void tst_FullView::buildsNothingBeforeSetup()
{
    const THubFixture around;
    TKelvoFullView view(nullptr);
    QVERIFY(ControllerOf(view));
    QVERIFY(!ControllerOf(view)->layout());
    QVERIFY(ControllerOf(view)->children().isEmpty());
    view.Setup();
    QVERIFY(ControllerOf(view)->layout());
}

void tst_FullView::canBeShownBeforeSetup()
{
    const THubFixture around;
    TKelvoFullView view(nullptr);
    view.resize(800, 600);
    view.show();
    QVERIFY(ControllerOf(view)->isVisible());
    view.Setup();
    QVERIFY(ControllerOf(view)->layout());
}

void tst_FullView::deletesTheControllerWithItself()
{
    const THubFixture around;
    for (bool isSetUp : {false, true}) {
        auto view = std::make_unique<TKelvoFullView>(nullptr);
        if (isSetUp) {
            view->Setup();
            view->show();
        }
        const QPointer<TKelvoFileControlWidget> controller = ControllerOf(*view);
        QVERIFY(controller);
        view.reset();
        QVERIFY(!controller);
    }
}

KELVO_WIDGET_TEST_MAIN(tst_FullView)
#include "tst_FullView.moc"
