// Names that are too long for their row: elided in the row, whole in the band.
#include "TNames.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtWidgets/QScrollBar>

namespace {

const QString longName =
    QStringLiteral("A field with a name of more than one hundred characters, so that one row of "
                   "a list cannot show the name.zip");

} // namespace

class tst_LongNames : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void elidesInTheMiddle();
    void showsTheFullName();
    void showsNoBandForShortNames();
    void selectsTheTouchedRow();
    void theBandDoesNotCoverItsRow();
    void aTouchHidesTheBand();
    void theBandHidesWhenItsRowScrollsAway();
    void showsTheFullNameWithoutBlanks();
    void showsTheFullNameInALowList();
    void aNameWithoutPlaceLosesItsMiddle();
    void fullNameIsPlainText();
};

void tst_LongNames::elidesInTheMiddle()
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

void tst_LongNames::showsTheFullName()
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

void tst_LongNames::showsNoBandForShortNames()
{
    TNames names({QStringLiteral("short"), longName});
    names.Click(1);
    names.Click(0);
    QVERIFY(!names.Band().isVisible());
    names.Click(1);
    names.list.clear();
    QVERIFY(!names.Band().isVisible());
}

// The band of a row never moves or covers the row that is touched next.
void tst_LongNames::selectsTheTouchedRow()
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

void tst_LongNames::theBandDoesNotCoverItsRow()
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

void tst_LongNames::aTouchHidesTheBand()
{
    TNames names(Numbered(3) + QStringList(longName));
    names.Click(3);
    QVERIFY(names.Band().isVisible());
    const QStringList selected = names.list.GetSelectedTextItems();
    QTest::mouseClick(&names.Band(), Qt::LeftButton);
    QVERIFY(!names.Band().isVisible());
    QCOMPARE(names.list.GetSelectedTextItems(), selected);
}

void tst_LongNames::theBandHidesWhenItsRowScrollsAway()
{
    TNames names(QStringList(longName) + Numbered(20));
    names.Click(0);
    QVERIFY(names.Band().isVisible());
    names.list.scrollToBottom();
    QVERIFY(!names.Band().isVisible());
    names.list.scrollToTop();
    QVERIFY(names.Band().isVisible());
}

// The last line has ink. The right edge has none; a name that is cut off would have ink there.
void tst_LongNames::showsTheFullNameWithoutBlanks()
{
    TNames names({QString(80, QLatin1Char('m')) + QStringLiteral(".zip")});
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

// The list of a display of 800x480 with large texts is as low.
void tst_LongNames::showsTheFullNameInALowList()
{
    TNames names({QStringLiteral("short"), longName});
    hostimpl::SetTextSize(0.19, 1.3);
    names.list.resize(400, 216);
    QCoreApplication::processEvents(); // shows the head
    names.list.setCurrentRow(1);
    const TNameBand& band = names.Band();
    hostimpl::SetTextSize(0.19, 1.0);
    QVERIFY(band.isVisible());
    QCOMPARE(band.ShownText(), longName);
    QVERIFY(band.height() >= band.heightForWidth(band.width()));
    QVERIFY(names.list.rect().contains(band.geometry()));
    const QWidget* const head = names.list.findChild<TListHead*>();
    QVERIFY(head->isVisible());
    QVERIFY(band.geometry().top() <= head->geometry().top() + 1);
}

void tst_LongNames::aNameWithoutPlaceLosesItsMiddle()
{
    TNames names({QString(125, QLatin1Char('m')) + QString(125, QLatin1Char('n'))});
    names.list.resize(300, 150);
    names.list.setCurrentRow(0);
    const TNameBand& band = names.Band();
    QVERIFY(band.isVisible());
    QVERIFY(band.height() >= band.heightForWidth(band.width()));
    QVERIFY(names.list.rect().contains(band.geometry()));
    QVERIFY(band.ShownText().startsWith(QStringLiteral("mmmm")));
    QVERIFY(band.ShownText().endsWith(QStringLiteral("nnnn")));
    QVERIFY(band.ShownText().contains(QChar(0x2026)));
}

void tst_LongNames::fullNameIsPlainText()
{
    TNames names({QStringLiteral("<b>bold</b>")});
    QCOMPARE(names.list.item(0)->toolTip(), QStringLiteral("<span>&lt;b&gt;bold&lt;/b&gt;</span>"));
}

KELVO_WIDGET_TEST_MAIN(tst_LongNames)
#include "tst_longnames.moc"
