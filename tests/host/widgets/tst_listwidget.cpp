// The list of names: selecting, keeping a selection by name, long names, many names.
#include "host/TListWidget.h"

#include "host/TWindow.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"
#include "widgets/TNameBand.h"

#include <QtGui/QWindow>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QScroller>

namespace {

const QString longName =
    QStringLiteral("A field with a name that nobody could ever show whole in one row of a list, "
                   "for it goes on and on and on.zip");

QStringList Numbered(int count)
{
    QStringList names;
    for (int index = 0; index < count; ++index) {
        names.append(QStringLiteral("name %1").arg(index));
    }
    return names;
}

// A list of the kind that the screens show.
struct TNames
{
    explicit TNames(const QStringList& names)
        : list(&window), changes(&list, &QListWidget::itemSelectionChanged)
    {
        list.setSelectionMode(QAbstractItemView::MultiSelection);
        for (const QString& name : names) {
            list.AddString(name, 30, 0, QIcon());
        }
        window.resize(500, 400);
        list.resize(500, 400);
        window.show();
    }

    void Click(int row)
    {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier,
                          list.visualItemRect(list.item(row)).center());
    }

    // In the list's pixels.
    QRect RowOf(int row) const
    {
        return list.visualItemRect(list.item(row)).translated(list.viewport()->pos());
    }

    TNameBand& Band() { return *list.findChild<TNameBand*>(); }

    TWindow window;
    TListWidget list;
    QSignalSpy changes;
};

} // namespace

class tst_ListWidget : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void addsInOrder();
    void rowsAreLargeEnough();
    void drawsTextOfTheSizeAsked();
    void clickToggles();
    void tellsSelectedInTheListsOrder();
    void selectsByNameBesideWhatIsSelected();
    void selectsAllOfOneName();
    void selectingTellsOnce();
    void selectingNothingNewTellsNothing();
    void manyNamesTellLittle();
    void clearsAndFillsAgain();
    void elidesInTheMiddle();
    void showsTheFullName();
    void showsNoBandForShortNames();
    void selectsWhatIsTouched();
    void bandLeavesItsRowFree();
    void aTouchTakesTheBandAway();
    void bandGoesWithItsRow();
    void showsTheFullNameWithoutBlanks();
    void fullNameIsPlainText();
    void scrollsKinetically();
    void dragScrollsAndSelectsNothing();
    void wheelPassesByUntilPressed();
    void wheelSelects();
    void wheelLeavesAtTheEnds();
    void wheelPassesAnEmptyList();
    void losingTheFocusLetsGo();
    void lockedCannotBeChanged();
    void worksWithOneSelection();
    void mayGoByAnEvent();
};

void tst_ListWidget::addsInOrder()
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

void tst_ListWidget::drawsTextOfTheSizeAsked()
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
    QCOMPARE(darkRows(5), darkRows(20)); // the least that can be read
}

void tst_ListWidget::clickToggles()
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

void tst_ListWidget::tellsSelectedInTheListsOrder()
{
    TNames names(Numbered(5));
    names.Click(3);
    names.Click(0);
    names.Click(2);
    QCOMPARE(names.list.GetSelectedTextItems(),
             QStringList(
                 {QStringLiteral("name 0"), QStringLiteral("name 2"), QStringLiteral("name 3")}));
}

void tst_ListWidget::selectsByNameBesideWhatIsSelected()
{
    TNames names(Numbered(5));
    names.Click(0);
    names.list.SelectItems({QStringLiteral("name 4"), QStringLiteral("gone")});
    QCOMPARE(names.list.GetSelectedTextItems(),
             QStringList({QStringLiteral("name 0"), QStringLiteral("name 4")}));
}

void tst_ListWidget::selectsAllOfOneName()
{
    TNames names({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a")});
    names.list.SelectItems({QStringLiteral("a")});
    QCOMPARE(names.list.GetSelectedTextItems(),
             QStringList({QStringLiteral("a"), QStringLiteral("a")}));
}

void tst_ListWidget::selectingTellsOnce()
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

void tst_ListWidget::selectingNothingNewTellsNothing()
{
    TNames names(Numbered(3));
    names.list.SelectItems({});
    names.list.SelectItems({QStringLiteral("gone")});
    QCOMPARE(names.changes.count(), 0);
    names.list.SelectItems({QStringLiteral("name 1")});
    names.list.SelectItems({QStringLiteral("name 1")});
    QCOMPARE(names.changes.count(), 1);
}

// Nothing is laid out, measured or drawn for each of ten thousand names.
void tst_ListWidget::manyNamesTellLittle()
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

void tst_ListWidget::elidesInTheMiddle()
{
    const QString other = QString(longName).replace(QStringLiteral(".zip"), QStringLiteral(".txt"));
    TNames names({longName, other});
    const QImage image = names.list.viewport()->grab().toImage();
    const QRect first = names.list.visualItemRect(names.list.item(0));
    const QRect second = names.list.visualItemRect(names.list.item(1));
    const int half = first.width() / 2;
    const QSize size(half, first.height() - 2);
    QCOMPARE(image.copy(QRect(first.topLeft(), size)), image.copy(QRect(second.topLeft(), size)));
    const QPoint right(half, 0);
    QVERIFY(image.copy(QRect(first.topLeft() + right, size)) !=
            image.copy(QRect(second.topLeft() + right, size)));
}

void tst_ListWidget::showsTheFullName()
{
    TNames names({QStringLiteral("short"), longName});
    QVERIFY(names.list.item(1)->toolTip().contains(longName));
    QVERIFY(!names.Band().isVisible());
    names.Click(1);
    QVERIFY(names.Band().isVisible());
    QCOMPARE(names.Band().Name(), longName);
    QVERIFY(names.Band().height() >= names.Band().heightForWidth(names.Band().width()));
    QVERIFY(names.list.rect().contains(names.Band().geometry()));
    QVERIFY(!names.Band().geometry().intersects(names.RowOf(1)));
}

void tst_ListWidget::showsNoBandForShortNames()
{
    TNames names({QStringLiteral("short"), longName});
    names.Click(1);
    names.Click(0);
    QVERIFY(!names.Band().isVisible());
    names.Click(1);
    names.list.clear();
    QVERIFY(!names.Band().isVisible());
}

// The row that was touched, however the name of the one before was shown.
void tst_ListWidget::selectsWhatIsTouched()
{
    QStringList all = Numbered(20);
    all[18] = longName;
    TNames names(all);
    names.list.scrollToBottom();
    names.Click(18);
    QVERIFY(names.Band().isVisible());
    const int scrolled = names.list.verticalScrollBar()->value();
    names.Click(17);
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList({all[17], longName}));
    QCOMPARE(names.list.verticalScrollBar()->value(), scrolled);
    names.Click(19);
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList({all[17], longName, all[19]}));
}

void tst_ListWidget::bandLeavesItsRowFree()
{
    TNames names({longName, QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), longName,
                  QStringLiteral("d")});
    for (const int row : {0, 4}) {
        names.list.setCurrentRow(row);
        QVERIFY(names.Band().isVisible());
        QVERIFY(!names.Band().geometry().intersects(names.RowOf(row)));
    }
    names.list.scrollToBottom();
    QVERIFY(!names.Band().geometry().intersects(names.RowOf(4)));
    names.list.verticalScrollBar()->setValue(0);
    QVERIFY(!names.Band().geometry().intersects(names.RowOf(4)));
}

void tst_ListWidget::aTouchTakesTheBandAway()
{
    TNames names(Numbered(3) + QStringList(longName));
    names.Click(3);
    QVERIFY(names.Band().isVisible());
    const QStringList selected = names.list.GetSelectedTextItems();
    QTest::mouseClick(&names.Band(), Qt::LeftButton);
    QVERIFY(!names.Band().isVisible());
    QCOMPARE(names.list.GetSelectedTextItems(), selected);
}

void tst_ListWidget::bandGoesWithItsRow()
{
    TNames names(QStringList(longName) + Numbered(20));
    names.Click(0);
    QVERIFY(names.Band().isVisible());
    names.list.scrollToBottom();
    QVERIFY(!names.Band().isVisible());
    names.list.scrollToTop();
    QVERIFY(names.Band().isVisible());
}

// Ink on the last line, and none at the right edge, where a name that is cut would have some.
void tst_ListWidget::showsTheFullNameWithoutBlanks()
{
    TNames names({QString(180, QLatin1Char('m')) + QStringLiteral(".zip")});
    names.Click(0);
    const QImage image = names.Band().grab().toImage();
    const QColor ground = hostimpl::ThemeColour(hostimpl::EColour::eWindow);
    const auto hasInk = [&](const QRect& area) {
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x) {
                if (image.pixelColor(x, y) != ground) {
                    return true;
                }
            }
        }
        return false;
    };
    QVERIFY(names.Band().height() >= names.Band().heightForWidth(names.Band().width()));
    QVERIFY(hasInk(QRect(0, image.height() - 20, image.width(), 20)));
    QVERIFY(!hasInk(QRect(image.width() - 10, 0, 10, image.height())));
}

void tst_ListWidget::fullNameIsPlainText()
{
    TNames names({QStringLiteral("<b>bold</b>")});
    QCOMPARE(names.list.item(0)->toolTip(), QStringLiteral("<span>&lt;b&gt;bold&lt;/b&gt;</span>"));
}

void tst_ListWidget::scrollsKinetically()
{
    TNames names(Numbered(50));
    QVERIFY(QScroller::hasScroller(names.list.viewport()));
    QCOMPARE(names.list.verticalScrollMode(), QAbstractItemView::ScrollPerPixel);
}

// By way of the native window, which knows what button is down while the mouse moves.
void tst_ListWidget::dragScrollsAndSelectsNothing()
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

void tst_ListWidget::wheelPassesByUntilPressed()
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

void tst_ListWidget::wheelSelects()
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

void tst_ListWidget::wheelLeavesAtTheEnds()
{
    TNames names(Numbered(2));
    names.list.OnWheelPressed();
    QVERIFY(!names.list.OnWheelTurned(-1));
    QVERIFY(!names.list.OnWheelTurned(1)); // not in hand any more
    names.list.OnWheelPressed();
    QVERIFY(names.list.OnWheelTurned(1));
    QVERIFY(!names.list.OnWheelTurned(1));
}

void tst_ListWidget::wheelPassesAnEmptyList()
{
    TNames names({});
    QVERIFY(names.list.OnWheelPressed());
    QVERIFY(!names.list.OnWheelTurned(1));
}

void tst_ListWidget::losingTheFocusLetsGo()
{
    TNames names(Numbered(5));
    QVERIFY(QTest::qWaitForWindowActive(&names.window));
    names.list.setFocus();
    names.list.OnWheelPressed();
    names.list.clearFocus();
    QVERIFY(!names.list.OnWheelTurned(1));
}

void tst_ListWidget::lockedCannotBeChanged()
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

void tst_ListWidget::worksWithOneSelection()
{
    TNames names(Numbered(4));
    names.list.setSelectionMode(QAbstractItemView::SingleSelection);
    names.Click(1);
    names.Click(2);
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList(QStringLiteral("name 2")));
}

void tst_ListWidget::mayGoByAnEvent()
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
