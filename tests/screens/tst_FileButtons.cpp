// The file controller's buttons: which are visible, and which are enabled.
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include <QtTest/QtTest>

using F = TControllerFixture;

class tst_FileButtons : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void buttonsInEachState_data();
    void buttonsInEachState();
    void buttonsFollowTheSelectionAndTheOperation();
};

namespace {

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

QStringList Texts(const char* texts)
{
    return QString::fromLatin1(texts).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

void tst_FileButtons::buttonsInEachState_data()
{
    QTest::addColumn<int>("location");
    QTest::addColumn<bool>("isLoggedIn");
    QTest::addColumn<bool>("isRunning");
    QTest::addColumn<bool>("isSelected");
    QTest::addColumn<QString>("buttons");
    const auto row = [](int location, bool isLoggedIn, bool isRunning, bool isSelected,
                        const char* buttons) {
        QTest::addRow("location %d, %s, %s, %s", location, isLoggedIn ? "in" : "out",
                      isRunning ? "running" : "idle", isSelected ? "selected" : "nothing")
            << location << isLoggedIn << isRunning << isSelected << Text(buttons);
    };
    row(0, true, false, false, "D (U) X");
    row(0, true, false, true, "D+ (U+) X+");
    row(0, true, true, false, "D (U) X");
    row(0, true, true, true, "D (U) X");
    row(1, true, false, false, "(D) U X");
    row(1, true, false, true, "(D+) U+ X+");
    row(1, true, true, false, "(D) U X");
    row(1, true, true, true, "(D) U X+");
    row(1, false, false, false, "(D) U X");
    row(1, false, false, true, "(D) U X+");
    row(1, false, true, true, "(D) U X+");
    row(2, true, false, false, "(D) (U) X");
    row(2, true, false, true, "(D+) (U+) X+");
    row(2, true, true, true, "(D) (U) X+");
    row(2, false, false, false, "(D) (U) X");
    row(2, false, false, true, "(D) (U) X+");
    row(2, false, true, true, "(D) (U) X+");
}

void tst_FileButtons::buttonsInEachState()
{
    QFETCH(int, location);
    QFETCH(bool, isLoggedIn);
    QFETCH(bool, isRunning);
    QFETCH(bool, isSelected);
    QFETCH(QString, buttons);
    F f;
    QVERIFY(WriteFile(F::UploadPath(3, Text("a.zip"))));
    QVERIFY(WriteFile(F::DownloadPath(3, Text("a.zip"))));
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip")));
    f.SetUp(isLoggedIn);
    f.Choose(3, location);
    if (isRunning)
        f.Hub().OnPostLoginChecksInProgress();
    if (isSelected)
        f.Select(Texts("a.zip"));
    QCOMPARE(f.Buttons(), buttons);
}

void tst_FileButtons::buttonsFollowTheSelectionAndTheOperation()
{
    F f;
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip")));
    f.SetUp(true);
    f.Choose(3, F::eService);
    QCOMPARE(f.Buttons(), Text("D (U) X"));
    f.Select(Texts("a.zip"));
    QCOMPARE(f.Buttons(), Text("D+ (U+) X+"));
    f.Hub().OnPostLoginChecksInProgress();
    QCOMPARE(f.Buttons(), Text("D (U) X"));
    f.Hub().OnPostLoginChecksComplete();
    QCOMPARE(f.Buttons(), Text("D+ (U+) X+"));
    f.List().clearSelection();
    QCOMPARE(f.Buttons(), Text("D (U) X"));
}

KELVO_WIDGET_TEST_MAIN(tst_FileButtons)
#include "tst_FileButtons.moc"
