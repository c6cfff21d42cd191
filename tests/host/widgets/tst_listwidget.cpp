// The list of names: selection by touch, by name and by wheel, and many names.
#include "TNames.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtGui/QWindow>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QScroller>

class tst_ListWidget : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void keepsTheOrderOfTheNames();
    void rowsAreLargeEnough();
    void drawsTextInTheGivenSize();
    void aClickTogglesTheSelection();
    void returnsSelectedNamesInTheListsOrder();
    void selectsByNameAndKeepsTheSelection();
    void selectsAllEntriesOfOneName();
    void selectingEmitsOneSignal();
    void selectingSelectedNamesEmitsNothing();
    void manyNamesEmitFewSignals();
    void clearsAndFillsAgain();
    void scrollsKinetically();
    void aDragScrollsAndSelectsNothing();
    void theWheelSkipsTheEntriesUntilThePress();
    void theWheelSelectsEntries();
    void theWheelLeavesTheListAtBothEnds();
    void theWheelSkipsAnEmptyList();
    void losingTheFocusEndsTheUseByWheel();
    void aLockedListCannotBeChanged();
    void worksWithSingleSelection();
    void aDeferredDeleteDeletesTheList();
};

void tst_ListWidget::keepsTheOrderOfTheNames()
{
    TNames names(Numbered(3));
    names.list.AddString(QStringLiteral("with"), 30, 7,
                         hostimpl::ThemeIcon(QStringLiteral("home")));
    QCOMPARE(names.list.count(), 4);
    QCOMPARE(names.list.item(1)->text(), QStringLiteral("name 1"));
    QCOMPARE(names.list.item(3)->data(Qt::UserRole).toInt(), 7);
    QVERIFY(!names.list.item(3)->icon().isNull());
    QVERIFY(names.list.item(0)->icon().isNull());
    QVERIFY(names.list.GetSelectedTextItems().isEmpty());
}

void tst_ListWidget::rowsAreLargeEnough()
{
    TNames names(Numbered(3));
    QVERIFY(names.list.visualItemRect(names.list.item(0)).height() >= hostimpl::TOUCH_SIZE);
}

void tst_ListWidget::drawsTextInTheGivenSize()
{
    const auto darkRows = [](int textSize) {
        TListWidget list;
        list.resize(300, 100);
        list.AddString(QStringLiteral("H"), textSize, 0, QIcon());
        list.show();
        const QImage image = list.viewport()->grab().toImage();
        const QRect row = list.visualItemRect(list.item(0));
        int dark = 0;
        for (int y = row.top(); y < row.bottom(); ++y) {
            bool isDark = false;
            for (int x = row.left() + 56; x < row.left() + 100; ++x) {
                isDark = isDark || image.pixelColor(x, y).lightness() < 80;
            }
            dark += isDark ? 1 : 0;
        }
        return dark;
    };
    QVERIFY(darkRows(30) >= 20);
    QVERIFY(darkRows(48) > darkRows(30));
    QCOMPARE(darkRows(5), darkRows(30)); // both are less than the size of the other texts
}

void tst_ListWidget::aClickTogglesTheSelection()
{
    TNames names(Numbered(4));
    names.Click(1);
    names.Click(2);
    QCOMPARE(names.list.GetSelectedTextItems(),
             QStringList({QStringLiteral("name 1"), QStringLiteral("name 2")}));
    names.Click(1);
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList(QStringLiteral("name 2")));
    QCOMPARE(names.changes.count(), 3);
}

void tst_ListWidget::returnsSelectedNamesInTheListsOrder()
{
    TNames names(Numbered(5));
    names.Click(3);
    names.Click(0);
    names.Click(2);
    QCOMPARE(names.list.GetSelectedTextItems(),
             QStringList(
                 {QStringLiteral("name 0"), QStringLiteral("name 2"), QStringLiteral("name 3")}));
}

void tst_ListWidget::selectsByNameAndKeepsTheSelection()
{
    TNames names(Numbered(5));
    names.Click(0);
    names.list.SelectItems({QStringLiteral("name 4"), QStringLiteral("gone")});
    QCOMPARE(names.list.GetSelectedTextItems(),
             QStringList({QStringLiteral("name 0"), QStringLiteral("name 4")}));
}

void tst_ListWidget::selectsAllEntriesOfOneName()
{
    TNames names({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a")});
    names.list.SelectItems({QStringLiteral("a")});
    QCOMPARE(names.list.GetSelectedTextItems(),
             QStringList({QStringLiteral("a"), QStringLiteral("a")}));
}

void tst_ListWidget::selectingEmitsOneSignal()
{
    TNames names(Numbered(100));
    QStringList wanted;
    for (int index = 0; index < 100; index += 2) {
        wanted.append(QStringLiteral("name %1").arg(index));
    }
    names.list.SelectItems(wanted);
    QCOMPARE(names.changes.count(), 1);
    QCOMPARE(names.list.GetSelectedTextItems(), wanted);
}

void tst_ListWidget::selectingSelectedNamesEmitsNothing()
{
    TNames names(Numbered(3));
    names.list.SelectItems({});
    names.list.SelectItems({QStringLiteral("gone")});
    QCOMPARE(names.changes.count(), 0);
    names.list.SelectItems({QStringLiteral("name 1")});
    names.list.SelectItems({QStringLiteral("name 1")});
    QCOMPARE(names.changes.count(), 1);
}

// Ten thousand names cause no layout, no data change, and one selection signal.
void tst_ListWidget::manyNamesEmitFewSignals()
{
    TNames names({});
    const QSignalSpy dataChanges(names.list.model(), &QAbstractItemModel::dataChanged);
    int layouts = 0;
    connect(names.list.model(), &QAbstractItemModel::layoutChanged, this, [&] { ++layouts; });
    const QStringList all = Numbered(10000);
    for (const QString& name : all) {
        names.list.AddString(name, 30, 0, QIcon());
    }
    names.list.SelectItems(all);
    QCOMPARE(names.changes.count(), 1);
    QCOMPARE(dataChanges.count(), 0);
    QCOMPARE(layouts, 0);
    QCOMPARE(names.list.GetSelectedTextItems().size(), 10000);
    QVERIFY(names.list.uniformItemSizes());
    QCOMPARE(names.list.selectionModel()->selection().size(), 1);
}

void tst_ListWidget::clearsAndFillsAgain()
{
    TNames names(Numbered(5));
    names.list.SelectItems({QStringLiteral("name 2")});
    const QStringList kept = names.list.GetSelectedTextItems();
    names.list.OnWheelPressed();
    names.list.clear();
    QVERIFY(names.list.GetSelectedTextItems().isEmpty());
    QVERIFY(!names.list.OnWheelTurned(1));
    names.list.AddString(QStringLiteral("name 9"), 30, 0, QIcon());
    names.list.AddString(QStringLiteral("name 2"), 30, 0, QIcon());
    names.list.SelectItems(kept);
    QCOMPARE(names.list.GetSelectedTextItems(), kept);
}

void tst_ListWidget::scrollsKinetically()
{
    TNames names(Numbered(50));
    QVERIFY(QScroller::hasScroller(names.list.viewport()));
    QCOMPARE(names.list.verticalScrollMode(), QAbstractItemView::ScrollPerPixel);
}

// The events go through the native window because it knows the pressed button during a move.
void tst_ListWidget::aDragScrollsAndSelectsNothing()
{
    TNames names(Numbered(50));
    QWindow* const window = names.window.windowHandle();
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, QPoint(200, 300));
    for (int y = 290; y >= 50; y -= 10) {
        QTest::mouseMove(window, QPoint(200, y));
    }
    QCOMPARE(QScroller::scroller(names.list.viewport())->state(), QScroller::Dragging);
    QTRY_VERIFY(names.list.verticalScrollBar()->value() > 0);
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, QPoint(200, 50));
    QVERIFY(names.list.GetSelectedTextItems().isEmpty());
    QScroller::scroller(names.list.viewport())->stop();
}

void tst_ListWidget::theWheelSkipsTheEntriesUntilThePress()
{
    TNames names(Numbered(5));
    QVERIFY(!names.list.OnWheelTurned(1));
    QVERIFY(!names.list.OnBackPressed());
    QVERIFY(names.list.OnWheelPressed());
    QVERIFY(names.list.OnWheelTurned(1));
    QVERIFY(names.list.OnBackPressed());
    QVERIFY(!names.list.OnWheelTurned(1));
    QCOMPARE(names.changes.count(), 0);
}

void tst_ListWidget::theWheelSelectsEntries()
{
    TNames names(Numbered(30));
    names.list.OnWheelPressed();
    QCOMPARE(names.list.currentRow(), 0);
    names.list.OnWheelTurned(20);
    QCOMPARE(names.list.currentRow(), 20);
    QVERIFY(names.list.viewport()->rect().contains(
        names.list.visualItemRect(names.list.item(20)).center()));
    names.list.OnWheelPressed();
    names.list.OnWheelTurned(-1);
    names.list.OnWheelPressed();
    QCOMPARE(names.list.GetSelectedTextItems(),
             QStringList({QStringLiteral("name 19"), QStringLiteral("name 20")}));
    names.list.OnWheelPressed();
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList(QStringLiteral("name 20")));
}

void tst_ListWidget::theWheelLeavesTheListAtBothEnds()
{
    TNames names(Numbered(2));
    names.list.OnWheelPressed();
    QVERIFY(!names.list.OnWheelTurned(-1));
    QVERIFY(!names.list.OnWheelTurned(1)); // the use by wheel has ended
    names.list.OnWheelPressed();
    QVERIFY(names.list.OnWheelTurned(1));
    QVERIFY(!names.list.OnWheelTurned(1));
}

void tst_ListWidget::theWheelSkipsAnEmptyList()
{
    TNames names({});
    QVERIFY(names.list.OnWheelPressed());
    QVERIFY(!names.list.OnWheelTurned(1));
}

void tst_ListWidget::losingTheFocusEndsTheUseByWheel()
{
    TNames names(Numbered(5));
    QVERIFY(QTest::qWaitForWindowActive(&names.window));
    names.list.setFocus();
    names.list.OnWheelPressed();
    names.list.clearFocus();
    QVERIFY(!names.list.OnWheelTurned(1));
}

void tst_ListWidget::aLockedListCannotBeChanged()
{
    TNames names(Numbered(3));
    names.Click(0);
    names.window.SetLocked(true);
    names.Click(1);
    names.list.OnWheelPressed();
    names.list.OnWheelTurned(1);
    names.list.OnWheelPressed();
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList(QStringLiteral("name 0")));
    names.window.SetLocked(false);
    names.Click(1);
    QCOMPARE(names.list.GetSelectedTextItems().size(), 2);
}

void tst_ListWidget::worksWithSingleSelection()
{
    TNames names(Numbered(4));
    names.list.setSelectionMode(QAbstractItemView::SingleSelection);
    names.Click(1);
    names.Click(2);
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList(QStringLiteral("name 2")));
}

void tst_ListWidget::aDeferredDeleteDeletesTheList()
{
    const QPointer<TListWidget> list = new TListWidget;
    list->AddString(QStringLiteral("a"), 30, 0, QIcon());
    list->show();
    list->deleteLater();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(list.isNull());
}

KELVO_WIDGET_TEST_MAIN(tst_ListWidget)
#include "tst_listwidget.moc"
