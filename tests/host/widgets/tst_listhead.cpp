// The head of the list of names: the count and "All"; and the text of an empty list.
#include "THead.h"
#include "hostimpl/Listing.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtWidgets/QScrollBar>

class tst_ListHead : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void init() { hostimpl::SetListing(hostimpl::EListing::eListed); }
    void countsTheSelectedNames();
    void showsALongCountInFull();
    void selectsAllAndNone();
    void aLockedListSelectsNothing();
    void coversNoRow();
    void hidesWithoutNames();
    void hidesForASingleSelection();
    void anEmptyListSaysWhy();
    void aHandInAGloveCanHoldTheScrollBar();
};

void tst_ListHead::showsALongCountInFull()
{
    THead names(Numbered(10000));
    names.All().click();
    const auto* const label = names.Bar().findChild<QLabel*>();
    const int usual = hostimpl::ThemeFont(hostimpl::EFont::eCaption).stretch();
    for (const int width : {800, 440, 800}) {
        names.list.resize(width, 400);
        THead::UpdateHead();
        QVERIFY2(label->heightForWidth(label->width()) <= label->height(),
                 QByteArray::number(width).constData());
        QCOMPARE(label->font().stretch() < usual, width == 440);
    }
}

void tst_ListHead::countsTheSelectedNames()
{
    THead names(Numbered(500));
    QCOMPARE(names.Text(), QStringLiteral("0 of 500 selected"));
    names.Click(0);
    names.Click(2);
    names.UpdateHead();
    QCOMPARE(names.Text(), QStringLiteral("2 of 500 selected"));
    delete names.list.takeItem(0);
    names.UpdateHead();
    QCOMPARE(names.Text(), QStringLiteral("1 of 499 selected"));
}

void tst_ListHead::selectsAllAndNone()
{
    THead names(Numbered(500));
    QCOMPARE(names.All().text(), QStringLiteral("All"));
    names.Click(1);
    names.UpdateHead();
    names.All().click();
    names.UpdateHead();
    QCOMPARE(names.list.GetSelectedTextItems(), Numbered(500));
    QCOMPARE(names.changes.count(), 2);
    QCOMPARE(names.All().text(), QStringLiteral("None"));
    names.All().click();
    names.UpdateHead();
    QVERIFY(names.list.GetSelectedTextItems().isEmpty());
    QCOMPARE(names.All().text(), QStringLiteral("All"));
}

void tst_ListHead::aLockedListSelectsNothing()
{
    THead names(Numbered(3));
    names.window.SetLocked(true);
    names.All().click();
    QVERIFY(names.list.GetSelectedTextItems().isEmpty());
}

void tst_ListHead::coversNoRow()
{
    THead names(Numbered(50));
    QVERIFY(names.Bar().isVisible());
    QVERIFY(!names.Bar().geometry().intersects(names.list.viewport()->geometry()));
    QVERIFY(names.list.rect().contains(names.Bar().geometry()));
    names.window.resize(700, 300);
    names.list.resize(700, 300);
    QVERIFY(!names.Bar().geometry().intersects(names.list.viewport()->geometry()));
    QCOMPARE(names.Bar().width(), names.list.viewport()->width());
}

void tst_ListHead::hidesWithoutNames()
{
    THead names({});
    QVERIFY(!names.Bar().isVisible());
    names.list.AddString(QStringLiteral("a"), 30, 0, QIcon());
    names.UpdateHead();
    QVERIFY(names.Bar().isVisible());
    names.list.clear();
    names.UpdateHead();
    QVERIFY(!names.Bar().isVisible());
}

void tst_ListHead::hidesForASingleSelection()
{
    THead names({});
    names.list.setSelectionMode(QAbstractItemView::SingleSelection);
    names.list.AddString(QStringLiteral("a"), 30, 0, QIcon());
    names.UpdateHead();
    QVERIFY(!names.Bar().isVisible());
}

// Each reason draws other words.
void tst_ListHead::anEmptyListSaysWhy()
{
    THead names({});
    names.window.resize(900, 400);
    names.list.resize(900, 400);
    QVector<QImage> pictures;
    for (const auto listing : {hostimpl::EListing::eListed, hostimpl::EListing::eLoggedOut,
                               hostimpl::EListing::eNotListed}) {
        hostimpl::SetListing(listing);
        pictures << names.Picture();
    }
    QVERIFY(pictures[0] != pictures[1]);
    QVERIFY(pictures[1] != pictures[2]);
    QVERIFY(pictures[0] != pictures[2]);
    names.list.AddString(QStringLiteral("a"), 30, 0, QIcon());
    const QImage filled = names.Picture();
    hostimpl::SetListing(hostimpl::EListing::eListed);
    QCOMPARE(names.Picture(), filled);
}

void tst_ListHead::aHandInAGloveCanHoldTheScrollBar()
{
    THead names(Numbered(10000));
    const QScrollBar& bar = *names.list.verticalScrollBar();
    QVERIFY(bar.isVisible());
    QVERIFY(bar.width() >= 73);
    QTest::mousePress(names.list.verticalScrollBar(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(bar.width() - 2, 36));
    QMouseEvent move(QEvent::MouseMove, QPointF(bar.width() - 2, bar.height() / 2.0), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(names.list.verticalScrollBar(), &move);
    const double half = bar.maximum() / 2.0;
    QVERIFY2(std::abs(bar.value() - half) < half / 10, qPrintable(QString::number(bar.value())));
}

KELVO_WIDGET_TEST_MAIN(tst_ListHead)
#include "tst_listhead.moc"
