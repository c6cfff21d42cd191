// The search in the head of a list of names.
#include "THead.h"
#include "host/TMessageDialog.h"
#include "hostimpl/Listing.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"
#include "widgets/TMessageText.h"

#include <QtCore/QLocale>

class tst_ListSearch : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void init() { hostimpl::SetListing(hostimpl::EListing::eListed); }
    void namesItsSearchButton();
    void elidesALongSearchText();
    void showsOnlyTheFoundNames();
    void ignoresCaseAndAccents();
    void selectsOnlyTheFoundNames();
    void leavesOutSelectedNamesThatAreNotShown();
    void tellsHiddenSelectedNamesWhileTheOperatorTypes();
    void aQuestionOfThePageTellsHiddenSelectedNames();
    void theEntryFieldShowsTheFocus();
    void theSearchHoldsWhenTheListIsFilledAgain();
    void keepsHiddenSelectedNamesWhenTheListIsFilledAgain_data();
    void keepsHiddenSelectedNamesWhenTheListIsFilledAgain();
    void theButtonEndsTheSearch();
    void backEndsTheSearch();
    void aKeyStartsTheSearch();
    void theWheelVisitsOnlyTheFoundNames();
    void searchesManyNames();
    void writesNumbersAsTheOperatorDoes();
    void anUnsuccessfulSearchSaysSo();
};

void tst_ListSearch::namesItsSearchButton()
{
    THead names(fields);
    QCOMPARE(names.SearchButton().accessibleName(), QStringLiteral("Show only names with a text"));
    names.SearchButton().click();
    QCOMPARE(names.SearchButton().accessibleName(), QStringLiteral("Show all names again"));
    QVERIFY(names.All().accessibleName().isEmpty()); // its caption names it
}

// The letters of a narrow list stay readable.
void tst_ListSearch::elidesALongSearchText()
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
             QStringLiteral("0 of 10,000 selected\n0 found: ") + names.Entry().text().trimmed());
}

void tst_ListSearch::showsOnlyTheFoundNames()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    QCOMPARE(names.Shown(), QStringList({fields[0], fields[2]}));
    QTest::keyClick(&names.Entry(), Qt::Key_Backspace, Qt::ControlModifier);
    QCOMPARE(names.Shown(), fields);
}

void tst_ListSearch::ignoresCaseAndAccents()
{
    THead names(fields);
    names.Search(QStringLiteral("ZLUT"));
    QCOMPARE(names.Shown(), QStringList(fields[3]));
}

void tst_ListSearch::selectsOnlyTheFoundNames()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    names.list.setFocus();
    names.All().click();
    QCOMPARE(names.list.GetSelectedTextItems(), QStringList({fields[0], fields[2]}));
}

void tst_ListSearch::leavesOutSelectedNamesThatAreNotShown()
{
    THead names(fields);
    names.Click(1);
    names.changes.clear();
    names.Search(QStringLiteral("north"));
    names.list.setFocus();
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

void tst_ListSearch::tellsHiddenSelectedNamesWhileTheOperatorTypes()
{
    THead names(fields);
    names.list.resize(320, 400);
    names.Click(1);
    names.Search(QStringLiteral("north"));
    const auto* const label = names.Bar().findChild<QLabel*>();
    QVERIFY(names.Entry().isVisible());
    QVERIFY(label->isVisible());
    QCOMPARE(names.Text(), QStringLiteral("1 hidden"));
    QVERIFY(label->heightForWidth(label->width()) <= label->height());
    QVERIFY(label->minimumSizeHint().width() <= label->width());
    QVERIFY(names.Entry().width() > 2 * label->width());
    QTest::keyClick(&names.Entry(), Qt::Key_Backspace, Qt::ControlModifier);
    QVERIFY(!label->isVisible());
}

void tst_ListSearch::aQuestionOfThePageTellsHiddenSelectedNames()
{
    QWidget display;
    THead names(fields);
    names.window.setParent(&display); // a page
    names.window.show();
    display.show();
    const QString question = QStringLiteral("Delete?");
    TMessageDialog dialog(&names.window, QString(), question, TMessageDialog::eQuestion, false,
                          QPixmap());
    TMessageDialog ofTheDisplay(&display, QString(), question, TMessageDialog::eQuestion, false,
                                QPixmap());
    const auto textOf = [](TMessageDialog& each) {
        each.ShowWindow(true);
        const QString shown = each.findChild<TMessageText*>()->toPlainText();
        each.CloseWindow();
        return shown;
    };
    names.Click(0);
    names.Click(1);
    QCOMPARE(textOf(dialog), question);
    names.Search(QStringLiteral("north"));
    QCOMPARE(textOf(dialog),
             question + QStringLiteral("\nLeft out, because the search hides them: 1"));
    QCOMPARE(textOf(ofTheDisplay), question);
    QCOMPARE(dialog.Message(), question);
    QVERIFY(names.list.OnBackPressed());
    QCOMPARE(textOf(dialog), question);
}

void tst_ListSearch::theEntryFieldShowsTheFocus()
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

void tst_ListSearch::theSearchHoldsWhenTheListIsFilledAgain()
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
void tst_ListSearch::keepsHiddenSelectedNamesWhenTheListIsFilledAgain_data()
{
    QTest::addColumn<int>("shownRow");
    QTest::addColumn<bool>("isKept");
    QTest::newRow("one shown, kept") << 0 << true;
    QTest::newRow("none shown, kept") << -1 << true;
    QTest::newRow("one shown, other names") << 0 << false;
    QTest::newRow("none shown, other names") << -1 << false;
}

void tst_ListSearch::keepsHiddenSelectedNamesWhenTheListIsFilledAgain()
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

void tst_ListSearch::theButtonEndsTheSearch()
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

void tst_ListSearch::backEndsTheSearch()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    QVERIFY(names.list.OnBackPressed());
    QCOMPARE(names.Shown(), fields);
    QVERIFY(!names.list.OnBackPressed());
}

void tst_ListSearch::aKeyStartsTheSearch()
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

void tst_ListSearch::theWheelVisitsOnlyTheFoundNames()
{
    THead names(fields);
    names.Search(QStringLiteral("north"));
    names.list.OnWheelPressed();
    QCOMPARE(names.list.currentRow(), 0);
    QVERIFY(names.list.OnWheelTurned(1));
    QCOMPARE(names.list.currentRow(), 2);
    QVERIFY(!names.list.OnWheelTurned(1));
}

void tst_ListSearch::searchesManyNames()
{
    THead names(Numbered(10000));
    names.Search(QStringLiteral("name 999"));
    QCOMPARE(names.Shown().size(), 11);
    names.list.setFocus();
    names.All().click();
    QCOMPARE(names.list.GetSelectedTextItems().size(), 11);
    QCOMPARE(names.changes.count(), 1);
}

void tst_ListSearch::writesNumbersAsTheOperatorDoes()
{
    const QLocale before;
    QLocale::setDefault(QLocale(QStringLiteral("de")));
    THead names(Numbered(10000));
    names.window.resize(900, 400);
    names.list.resize(900, 400);
    names.All().click();
    names.Search(QStringLiteral("name"));
    names.list.setFocus();
    names.UpdateHead();
    const QString found = names.Text();
    QTest::keyClicks(&names.Entry(), QStringLiteral(" 99"));
    const QString hidden = names.Text();
    QLocale::setDefault(before);
    QCOMPARE(found, QStringLiteral("10.000 of 10.000 selected\n10.000 found: name"));
    QCOMPARE(hidden, QStringLiteral("111 of 10.000 selected\n9.889 hidden"));
}

void tst_ListSearch::anUnsuccessfulSearchSaysSo()
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

KELVO_WIDGET_TEST_MAIN(tst_ListSearch)
#include "tst_listsearch.moc"
