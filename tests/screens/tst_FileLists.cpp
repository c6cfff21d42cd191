// The file controller's selectors, lists and buttons.
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include <QtCore/QDir>
#include <QtTest/QtTest>

#include <algorithm>

using F = TControllerFixture;

class tst_FileLists : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void itemsAndProjectsHaveTheSameNumbers();
    void startsAtTheServiceWhenLoggedIn();
    void startsAtTheLocalFilesWhenLoggedOut();
    void loggingInOffersTheService();
    void loggingOutLeavesTheService();
    void loggingOutKeepsALocalLocation();
    void categoriesFollowTheLocation_data();
    void categoriesFollowTheLocation();
    void aValueBetweenTwoChoicesDoesNotMove();
    void theUploadListIsArchivesByName();
    void theDownloadedListIsFilesAndFolders();
    void theServiceListComesFromTheHub();
    void categoriesOfAnotherLocationListTheWorkingDirectory();
    void aMissingFolderGivesAnEmptyList();
    void aChangeOfCategoryRereadsTheListWithoutASelection();
    void aListingKeepsTheSelectionOfRemainingFiles();
    void aListingKeepsSelectedNamesThatTheSearchHides();
    void aChangeOfCategoryForgetsSelectedNamesThatTheSearchHides();
    void aListingOfAnotherCategoryChangesNothing();
    void aHiddenControllerIgnoresListings();
    void aListingRereadsALocalFolderToo();
    void aListingShowsTwoFilesOfOneName();
    void showingRereadsAndDoesNotCheckTheLogin();
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

// Turns the wheel. A choice that is not offered is skipped.
void Turn(TPropertyWidget& selector, int steps)
{
    selector.OnWheelPressed();
    for (int i = 0; i < qAbs(steps); ++i)
        selector.OnWheelTurned(steps > 0 ? 1 : -1);
    selector.OnWheelPressed();
}

// The categories that can be reached from the chosen one.
QList<int> Offered(TPropertyWidget& selector)
{
    QList<int> values;
    for (int i = 0; i < 7; ++i)
        Turn(selector, -1);
    for (int i = 0; i < 14; ++i) {
        const int value = int(selector.GetNumericalValue());
        if (!values.contains(value))
            values << value;
        Turn(selector, 1);
    }
    std::sort(values.begin(), values.end());
    return values;
}

} // namespace

void tst_FileLists::itemsAndProjectsHaveTheSameNumbers()
{
    const F f;
    for (int i = -3; i < 12; ++i) {
        const int expected = i >= 0 && i <= 6 ? i : 0;
        QCOMPARE(int(f.controller->GetKelvoProjectForItemToManage(EItemToManage(i))), expected);
        QCOMPARE(int(f.controller->GetItemToManageForKelvoProject(EKelvoProjects(i))), expected);
    }
}

void tst_FileLists::startsAtTheServiceWhenLoggedIn()
{
    F f;
    f.SetUp(true);
    QCOMPARE(f.Location().GetNumericalValue(), 0.0);
    QCOMPARE(f.Category().GetNumericalValue(), 0.0);
    QCOMPARE(Offered(f.Location()), (QList<int>{0, 1, 2}));
}

void tst_FileLists::startsAtTheLocalFilesWhenLoggedOut()
{
    F f;
    f.SetUp(false);
    QCOMPARE(f.Location().GetNumericalValue(), 1.0);
    QCOMPARE(f.Category().GetNumericalValue(), 1.0);
    QCOMPARE(Offered(f.Location()), (QList<int>{1, 2}));
}

void tst_FileLists::loggingInOffersTheService()
{
    F f;
    f.SetUp(false);
    f.Hub().OnLoggedIntoKelvo();
    QCOMPARE(f.Location().GetNumericalValue(), 1.0); // unchanged
    QCOMPARE(Offered(f.Location()), (QList<int>{0, 1, 2}));
}

void tst_FileLists::loggingOutLeavesTheService()
{
    F f;
    f.SetUp(true);
    f.Hub().OnNewKelvoProjectFilesList(0, ListingOf(Texts("map.zip")));
    QVERIFY(WriteFile(F::UploadPath(1, Text("report.zip"))));
    f.Hub().OnLoggedOutOfKelvo();
    QCOMPARE(f.Location().GetNumericalValue(), 1.0);
    QCOMPARE(f.Category().GetNumericalValue(), 1.0);
    QCOMPARE(f.Names(), Texts("report.zip"));
    QCOMPARE(Offered(f.Location()), (QList<int>{1, 2}));
}

void tst_FileLists::loggingOutKeepsALocalLocation()
{
    F f;
    f.SetUp(true);
    f.Choose(4, F::eDownloaded);
    f.Hub().OnLoggedOutOfKelvo();
    QCOMPARE(f.Location().GetNumericalValue(), 2.0);
    QCOMPARE(f.Category().GetNumericalValue(), 4.0);
}

void tst_FileLists::categoriesFollowTheLocation_data()
{
    QTest::addColumn<int>("location");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    for (int location = 0; location < 3; ++location) {
        for (int category = 0; category < 7; ++category) {
            int to = category;
            if (location == 1 && category == 0)
                to = 1;
            if (location != 1 && category == 1)
                to = 0;
            QTest::addRow("location %d category %d", location, category)
                << location << category << to;
        }
    }
}

void tst_FileLists::categoriesFollowTheLocation()
{
    QFETCH(int, location);
    QFETCH(int, from);
    QFETCH(int, to);
    F f;
    f.SetUp(true);
    f.Location().SetNumericalValue(from == 1 ? F::eToUpload : F::eDownloaded);
    f.Category().SetNumericalValue(from);
    QCOMPARE(f.Category().GetNumericalValue(), double(from));
    f.Location().SetNumericalValue(location);
    QCOMPARE(f.Category().GetNumericalValue(), double(to));
    const QList<int> offered =
        location == 1 ? QList<int>{1, 2, 3, 4, 5, 6} : QList<int>{0, 2, 3, 4, 5, 6};
    QCOMPARE(Offered(f.Category()), offered);
}

void tst_FileLists::aValueBetweenTwoChoicesDoesNotMove()
{
    F f;
    f.SetUp(true);
    f.Choose(2, F::eService);
    f.Category().SetNumericalValue(0.5);
    f.Location().SetNumericalValue(F::eToUpload);
    QCOMPARE(f.Category().GetNumericalValue(), 0.5);
    f.Category().SetNumericalValue(1.5);
    f.Location().SetNumericalValue(0.5);
    QCOMPARE(f.Category().GetNumericalValue(), 1.5);
    f.Hub().OnLoggedOutOfKelvo();
    QCOMPARE(f.Location().GetNumericalValue(), 0.5);
}

void tst_FileLists::theUploadListIsArchivesByName()
{
    F f;
    f.SetUp(false);
    for (const QString& name : Texts("b.zip a.zip B.zip a.txt zip a.zip.part .zip"))
        QVERIFY(WriteFile(F::UploadPath(3, name)));
    QVERIFY(QDir().mkdir(F::UploadPath(3, Text("folder.zip"))));
    QVERIFY(QFile::link(F::UploadPath(3, Text("a.zip")), F::UploadPath(3, Text("link.zip"))));
    f.Choose(3, F::eToUpload);
    QCOMPARE(f.Names(), Texts("B.zip a.zip b.zip"));
}

void tst_FileLists::theDownloadedListIsFilesAndFolders()
{
    F f;
    f.SetUp(false);
    QVERIFY(WriteFile(F::DownloadPath(4, Text("b.txt"))));
    QVERIFY(QDir().mkdir(F::DownloadPath(4, Text("a"))));
    QVERIFY(QDir().mkdir(F::DownloadPath(4, Text("c"))));
    QVERIFY(QFile::link(F::DownloadPath(4, Text("b.txt")), F::DownloadPath(4, Text("link"))));
    f.Choose(4, F::eDownloaded);
    QCOMPARE(f.Names(), Texts("a b.txt c"));
}

void tst_FileLists::theServiceListComesFromTheHub()
{
    F f;
    f.SetUp(true);
    f.Hub().OnNewKelvoProjectFilesList(5, ListingOf(Texts("z.zip a.zip m")));
    f.Choose(5, F::eService);
    QCOMPARE(f.Names(), Texts("z.zip a.zip m"));
    f.Choose(6, F::eService);
    QVERIFY(f.Names().isEmpty());
    QVERIFY(f.controller->GetKelvoDownloadableFileListForItem(EItemToManage(1)).isEmpty());
}

void tst_FileLists::categoriesOfAnotherLocationListTheWorkingDirectory()
{
    F f;
    const QString former = QDir::currentPath();
    QVERIFY(QDir::setCurrent(f.folder.Path()));
    const bool isWritten = WriteFile(Text("here.zip"));
    const QStringList uploadable =
        f.controller->GetKelvoUploadableFileListForItem(EItemToManage(0));
    const QStringList downloaded =
        f.controller->GetKelvoDownloadedFileListForItem(EItemToManage(1));
    QVERIFY(QDir::setCurrent(former));
    QVERIFY(isWritten);
    QCOMPARE(uploadable, Texts("here.zip"));
    QVERIFY(downloaded.contains(Text("here.zip")));
    QVERIFY(downloaded.size() > 1); // and the console's folders
}

void tst_FileLists::aMissingFolderGivesAnEmptyList()
{
    F f;
    f.SetUp(false);
    QVERIFY(QDir(F::DownloadPath(2)).removeRecursively());
    QVERIFY(QDir(F::UploadPath(2)).removeRecursively());
    f.Choose(2, F::eDownloaded);
    QVERIFY(f.Names().isEmpty());
    f.Choose(2, F::eToUpload);
    QVERIFY(f.Names().isEmpty());
}

void tst_FileLists::aChangeOfCategoryRereadsTheListWithoutASelection()
{
    F f;
    f.SetUp(true);
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip b.zip")));
    f.Hub().OnNewKelvoProjectFilesList(4, ListingOf(Texts("a.zip c.zip")));
    f.Choose(3, F::eService);
    f.Select(Texts("a.zip"));
    f.Category().SetNumericalValue(4);
    QCOMPARE(f.Names(), Texts("a.zip c.zip"));
    QVERIFY(f.Selected().isEmpty());
    QCOMPARE(f.Buttons(), Text("D (U) X"));
}

void tst_FileLists::aListingKeepsTheSelectionOfRemainingFiles()
{
    F f;
    f.SetUp(true);
    f.Show();
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip b.zip c.zip")));
    f.Choose(3, F::eService);
    f.Select(Texts("a.zip c.zip"));
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("c.zip d.zip b.zip")));
    QCOMPARE(f.Names(), Texts("c.zip d.zip b.zip"));
    QCOMPARE(f.Selected(), Texts("c.zip"));
}

void tst_FileLists::aListingKeepsSelectedNamesThatTheSearchHides()
{
    F f;
    f.SetUp(true);
    f.Show();
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip b.zip")));
    f.Choose(3, F::eService);
    f.Select(Texts("a.zip"));
    f.Search(Text("b"));
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip b.zip c.zip")));
    QVERIFY(f.Selected().isEmpty());
    QCOMPARE(f.Buttons(), Text("D (U) X"));
    QVERIFY(f.List().OnBackPressed());
    QCOMPARE(f.Selected(), Texts("a.zip"));
    QCOMPARE(f.Buttons(), Text("D+ (U+) X+"));
}

void tst_FileLists::aChangeOfCategoryForgetsSelectedNamesThatTheSearchHides()
{
    F f;
    f.SetUp(true);
    f.Show();
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip b.zip")));
    f.Hub().OnNewKelvoProjectFilesList(4, ListingOf(Texts("a.zip b.zip")));
    f.Choose(3, F::eService);
    f.Select(Texts("a.zip"));
    f.Search(Text("b"));
    f.Category().SetNumericalValue(4);
    QVERIFY(f.List().OnBackPressed());
    QVERIFY(f.Selected().isEmpty());
}

void tst_FileLists::aListingOfAnotherCategoryChangesNothing()
{
    F f;
    f.SetUp(true);
    f.Show();
    f.Choose(3, F::eToUpload);
    QVERIFY(WriteFile(F::UploadPath(3, Text("later.zip"))));
    f.Hub().OnNewKelvoProjectFilesList(4, ListingOf(Texts("a.zip")));
    f.Hub().OnNewKelvoProjectFilesList(0, ListingOf(Texts("a.zip")));
    QVERIFY(f.Names().isEmpty());
    {
        const QSignalBlocker silent(&f.Category());
        f.Category().SetNumericalValue(3.5); // the value of no category
    }
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip")));
    QVERIFY(f.Names().isEmpty());
}

void tst_FileLists::aHiddenControllerIgnoresListings()
{
    F f;
    f.SetUp(true);
    f.Choose(3, F::eService);
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip")));
    QVERIFY(f.Names().isEmpty());
    f.Show();
    QCOMPARE(f.Names(), Texts("a.zip"));
    f.window.hide();
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("b.zip")));
    QCOMPARE(f.Names(), Texts("a.zip"));
}

// The location does not matter.
void tst_FileLists::aListingRereadsALocalFolderToo()
{
    F f;
    f.SetUp(true);
    f.Show();
    QVERIFY(WriteFile(F::UploadPath(3, Text("a.zip"))));
    f.Choose(3, F::eToUpload);
    f.Select(Texts("a.zip"));
    QVERIFY(WriteFile(F::UploadPath(3, Text("b.zip"))));
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf({}));
    QCOMPARE(f.Names(), Texts("a.zip b.zip"));
    QCOMPARE(f.Selected(), Texts("a.zip"));
}

void tst_FileLists::aListingShowsTwoFilesOfOneName()
{
    F f;
    f.SetUp(true);
    f.Show();
    f.Choose(3, F::eService);
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip a.zip b.zip")));
    QCOMPARE(f.Names(), Texts("a.zip a.zip b.zip"));
}

void tst_FileLists::showingRereadsAndDoesNotCheckTheLogin()
{
    F f;
    f.SetUp(true);
    f.Choose(3, F::eService);
    {
        const QSignalBlocker silent(&f.Hub()); // the state changes without a signal
        f.Hub().OnLoggedOutOfKelvo();
        f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip")));
    }
    f.Show();
    QCOMPARE(f.Location().GetNumericalValue(), 0.0);
    QCOMPARE(f.Names(), Texts("a.zip"));
    f.Select(Texts("a.zip"));
    f.window.hide();
    f.window.show();
    QVERIFY(f.Selected().isEmpty());
}

KELVO_WIDGET_TEST_MAIN(tst_FileLists)
#include "tst_FileLists.moc"
