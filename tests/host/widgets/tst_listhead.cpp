// The head of the list of names: the count, "All" and the search; and the text of an empty list.
#include "TNames.h"
#include "host/TPushButton.h"
#include "hostimpl/Listing.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QScrollBar>

namespace {

const QStringList fields = {QStringLiteral("North 1.zip"), QStringLiteral("South.zip"),
                            QStringLiteral("north 2.zip"), QStringLiteral("Südhang žluť.zip")};

struct THead : TNames
{
    explicit THead(const QStringList& names) : TNames(names) { UpdateHead(); }

    // The head follows a change after the change.
    static void UpdateHead() { QCoreApplication::processEvents(); }

    QWidget& Bar() { return *list.findChild<TListHead*>(); }
    QString Text() { return list.findChild<TListHead*>()->findChild<QLabel*>()->text(); }
    TPushButton& All() { return *list.findChildren<TPushButton*>().at(0); }
    TPushButton& SearchButton() { return *list.findChildren<TPushButton*>().at(1); }
    QLineEdit& Entry() { return *list.findChild<QLineEdit*>(); }

    void Search(const QString& text)
    {
        SearchButton().click();
        QTest::keyClicks(&Entry(), text);
        UpdateHead();
    }

    QStringList Shown() const
    {
        QStringList names;
        for (int row = 0; row < list.count(); ++row) {
            if (!list.isRowHidden(row)) {
                names << list.item(row)->text();
            }
        }
        return names;
    }

    QImage Picture() { return list.viewport()->grab().toImage(); }
};

} // namespace

class tst_ListHead : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void init() { hostimpl::SetListing(hostimpl::EListing::eListed); }
    void countsTheSelectedNames();
    void showsALongCountInFull();
    void elidesALongSearchText();
    void namesItsSearchButton();
    void selectsAllAndNone();
    void aLockedListSelectsNothing();
    void coversNoRow();
    void hidesWithoutNames();
    void hidesForASingleSelection();
    void showsOnlyTheFoundNames();
    void ignoresCaseAndAccents();
    void selectsOnlyTheFoundNames();
    void leavesOutSelectedNamesThatAreNotShown();
    void theEntryFieldShowsTheFocus();
    void theSearchHoldsWhenTheListIsFilledAgain();
    void keepsHiddenSelectedNamesWhenTheListIsFilledAgain_data();
    void keepsHiddenSelectedNamesWhenTheListIsFilledAgain();
    void theButtonEndsTheSearch();
    void backEndsTheSearch();
    void aKeyStartsTheSearch();
    void theWheelVisitsOnlyTheFoundNames();
    void searchesManyNames();
    void anEmptyListSaysWhy();
    void anUnsuccessfulSearchSaysSo();
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

// The letters of a narrow list stay readable.
void tst_ListHead::elidesALongSearchText()
{
    THead names(Numbered(10000));
    names.Search(QStringLiteral("name 999 and more of it ").repeated(4));
    names.list.resize(320, 400);
    names.list.setFocus();
    THead::UpdateHead();
    const auto* const label = names.Bar().findChild<QLabel*>();
    QVERIFY2(names.Text().endsWith(QChar(0x2026)), qPrintable(names.Text()));
    QVERIFY(label->heightForWidth(label->width()) <= label->height());
    QVERIFY(label->fontMetrics().size(0, names.Text()).width() <= label->width());
    QCOMPARE(label->accessibleName(),
             QStringLiteral("0 of 10000 selected\n0 found: ") + names.Entry().text().trimmed());
}

void tst_ListHead::namesItsSearchButton()
{
    THead names(fields);
    QCOMPARE(names.SearchButton().accessibleName(), QStringLiteral("Show only names with a text"));
    names.SearchButton().click();
    QCOMPARE(names.SearchButton().accessibleName(), QStringLiteral("Show all names again"));
    QVERIFY(names.All().accessibleName().isEmpty()); // its caption names it
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

void tst_ListHead::showsOnlyTheFoundNames()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    QCOMPARE(names.Shown(), QStringList({fields[0], fields[2]}));
    QTest::keyClick(&names.Entry(), Qt::Key_Backspace, Qt::ControlModifier);
    QCOMPARE(names.Shown(), fields);
}

void tst_ListHead::ignoresCaseAndAccents()
{
    THead names(fields);
    names.Search(QStringLiteral("ZLUT"));
    QCOMPARE(names.Shown(), QStringList(fields[3]));
}

void tst_ListHead::selectsOnlyTheFoundNames()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    names.list.setFocus();
    names.All().click();
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList({fields[0], fields[2]}));
}

void tst_ListHead::leavesOutSelectedNamesThatAreNotShown()
{
    THead names(fields);
    names.Click(1);
    names.changes.clear();
    names.Search(QStringLiteral("north"));
    QCOMPARE(names.Text(), QStringLiteral("0 of 4 selected\n1 hidden"));
    QVERIFY(names.list.GetSelectedTextItems().isEmpty());
    QVERIFY(!names.changes.isEmpty());
    QCOMPARE(names.All().text(), QStringLiteral("All"));
    names.Click(0);
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList(fields[0]));
    names.changes.clear();
    QVERIFY(names.list.OnBackPressed());
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList({fields[0], fields[1]}));
    QVERIFY(!names.changes.isEmpty());
}

void tst_ListHead::theEntryFieldShowsTheFocus()
{
    THead names(fields);
    QVERIFY(QTest::qWaitForWindowActive(&names.window));
    names.SearchButton().click();
    QVERIFY(names.Entry().hasFocus());
    const auto colourOnRing = [&names] {
        const QImage image = names.Entry().grab().toImage();
        return image.pixelColor(image.width() / 2, hostimpl::FOCUS_RING / 2);
    };
    const QColor ring = hostimpl::ThemeColour(hostimpl::EColour::eFocus);
    QCOMPARE(colourOnRing(), ring);
    names.list.setFocus(); // without a text the field stays
    QVERIFY(names.Entry().isVisible());
    QVERIFY(colourOnRing() != ring);
}

void tst_ListHead::theSearchHoldsWhenTheListIsFilledAgain()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    names.list.clear();
    for (const char* const name : {"a north", "b"}) {
        names.list.AddString(QString::fromLatin1(name), 30, 0, QIcon());
    }
    QCOMPARE(names.Shown(), QStringList(QStringLiteral("a north")));
    names.list.setFocus();
    names.UpdateHead();
    QCOMPARE(names.Text(), QStringLiteral("0 of 2 selected\n1 found: north"));
}

// A reader may look at the selection again while the list is empty.
void tst_ListHead::keepsHiddenSelectedNamesWhenTheListIsFilledAgain_data()
{
    QTest::addColumn<int>("shownRow");
    QTest::addColumn<bool>("isKept");
    QTest::newRow("one shown, kept") << 0 << true;
    QTest::newRow("none shown, kept") << -1 << true;
    QTest::newRow("one shown, other names") << 0 << false;
    QTest::newRow("none shown, other names") << -1 << false;
}

void tst_ListHead::keepsHiddenSelectedNamesWhenTheListIsFilledAgain()
{
    QFETCH(int, shownRow);
    QFETCH(bool, isKept);
    THead names(fields);
    QObject::connect(&names.list, &QListWidget::itemSelectionChanged, &names.window,
                     [&names] { names.list.GetSelectedTextItems(); });
    names.Click(1);
    names.Search(QStringLiteral("north"));
    if (shownRow >= 0) {
        names.Click(shownRow);
    }
    const QStringList shown = names.list.GetSelectedTextItems();
    names.list.clear();
    for (const QString& name : QStringList(QStringLiteral("new")) + fields) {
        names.list.AddString(name, 30, 0, QIcon());
    }
    names.list.SelectItems(isKept ? shown : QStringList());
    QCOMPARE(names.list.GetSelectedTextItems(), isKept ? shown : QStringList());
    QVERIFY(names.list.OnBackPressed());
    QCOMPARE(names.list.GetSelectedTextItems(), isKept ? shown + fields.mid(1, 1) : QStringList());
}

void tst_ListHead::theButtonEndsTheSearch()
{
    THead names(fields);
    QVERIFY(QTest::qWaitForWindowActive(&names.window));
    names.Search(QStringLiteral("north"));
    QTest::mouseClick(&names.SearchButton(), Qt::LeftButton);
    QCOMPARE(names.Shown(), fields);
    QVERIFY(!names.Entry().isVisible());
    QVERIFY(names.list.hasFocus());
    QTest::mouseClick(&names.SearchButton(), Qt::LeftButton);
    QVERIFY(names.Entry().hasFocus());
    QTest::mouseClick(&names.SearchButton(), Qt::LeftButton);
    QVERIFY(!names.Entry().isVisible());
}

void tst_ListHead::backEndsTheSearch()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    QVERIFY(names.list.OnBackPressed());
    QCOMPARE(names.Shown(), fields);
    QVERIFY(!names.list.OnBackPressed());
}

void tst_ListHead::aKeyStartsTheSearch()
{
    THead names(fields);
    QVERIFY(QTest::qWaitForWindowActive(&names.window));
    names.list.setFocus();
    QTest::keyClick(&names.list, Qt::Key_Space);
    QVERIFY(!names.Entry().isVisible());
    QTest::keyClick(&names.list, Qt::Key_S);
    QTest::keyClick(&names.Entry(), Qt::Key_O);
    QCOMPARE(names.Shown(), QStringList(fields[1]));
    QVERIFY(names.Entry().hasFocus());
}

void tst_ListHead::theWheelVisitsOnlyTheFoundNames()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    names.list.OnWheelPressed();
    QCOMPARE(names.list.currentRow(), 0);
    QVERIFY(names.list.OnWheelTurned(1));
    QCOMPARE(names.list.currentRow(), 2);
    QVERIFY(!names.list.OnWheelTurned(1));
}

void tst_ListHead::searchesManyNames()
{
    THead names(Numbered(10000));
    names.Search(QStringLiteral("name 999"));
    QCOMPARE(names.Shown().size(), 11);
    names.list.setFocus();
    names.All().click();
    QCOMPARE(names.list.GetSelectedTextItems().size(), 11);
    QCOMPARE(names.changes.count(), 1);
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

void tst_ListHead::anUnsuccessfulSearchSaysSo()
{
    THead names(fields);
    names.Search(QStringLiteral("x1"));
    QVERIFY(names.Shown().isEmpty());
    const QImage one = names.Picture();
    QTest::keyClicks(&names.Entry(), QStringLiteral("y"));
    QVERIFY(names.Picture() != one);
    names.list.setFocus();
    names.UpdateHead();
    QVERIFY(!names.All().isEnabled());
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
