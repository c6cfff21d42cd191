// TFolderCounter: what it counts, and that no caller waits for a silent medium.
#include "console/session/TFolderCounter.h"
#include "host/TSystemSettingsProxy.h"
#include "hostimpl/Folders.h"
#include "support/TTestCase.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSemaphore>
#include <QtCore/QTemporaryDir>

#include <memory>

using console::CountFolders;
using console::TFolderCounter;
using console::TFolderFigures;

namespace {

constexpr int maps = 0;
constexpr int reports = 1;
constexpr int curves = 3;

// A medium that answers only when it is allowed to. It may outlive the test's counter.
struct TMedium
{
    std::atomic<int> counts{0};
    QSemaphore permits;
};

TFolderCounter::TCount CountOn(const std::shared_ptr<TMedium>& medium)
{
    return [medium](const std::atomic<bool>&) {
        TFolderFigures figures;
        figures.freeBytes = ++medium->counts;
        medium->permits.acquire();
        return figures;
    };
}

void Write(const QString& path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

} // namespace

class TFolderCounterTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    const TFolderCounter::TClock::time_point m_start;
    const std::atomic<bool> m_isStopped{false};

    static bool WaitForFigures(TFolderCounter& counter, TFolderCounter::TClock::time_point now)
    {
        return QTest::qWaitFor([&] { return counter.Look(now).has_value(); }, 60000);
    }

private Q_SLOTS:
    void countsWhatTheFileControllerLists()
    {
        const QTemporaryDir folder;
        QString errorText;
        QVERIFY(hostimpl::SetDataFolder(folder.path()) && hostimpl::CreateFolders(errorText));
        const TSystemSettingsProxy settings;
        const QDir downloads(settings.GetKelvoDownloadToConsoleFolderPath());
        QVERIFY(downloads.mkdir(QStringLiteral("field")));
        Write(downloads.filePath(QStringLiteral("notes.txt")));
        Write(downloads.filePath(QStringLiteral(".hidden")));
        QVERIFY(QFile::link(downloads.path(), downloads.filePath(QStringLiteral("link"))));
        const QDir uploads(settings.GetKelvoUploadFromConsoleFolderPath());
        Write(uploads.filePath(QStringLiteral("report.zip")));
        Write(uploads.filePath(QStringLiteral("report.txt")));
        QVERIFY(uploads.mkdir(QStringLiteral("folder.zip")));
        const QDir lines(settings.GetKelvoDownloadCurvesFolderPath());
        for (int i = 0; i < 10'000; ++i) {
            Write(lines.filePath(QString::number(i)));
        }
        const TFolderFigures figures = CountFolders(m_isStopped);
        QCOMPARE(figures.categories.at(maps).downloaded, std::optional(2));
        QVERIFY(!figures.categories.at(maps).toSend);
        QVERIFY(!figures.categories.at(reports).downloaded);
        QCOMPARE(figures.categories.at(reports).toSend, std::optional(1));
        QCOMPARE(figures.categories.at(curves).downloaded, std::optional(10'000));
        QCOMPARE(figures.categories.at(curves).toSend, std::optional(0));
        QVERIFY(figures.freeBytes > 0);
    }

    void countsNoFolderThatIsMissing()
    {
        const QTemporaryDir folder;
        QVERIFY(hostimpl::SetDataFolder(folder.path()));
        QVERIFY(!CountFolders(m_isStopped).categories.at(maps).downloaded);
    }

    void doesNotWaitForASilentMedium()
    {
        const auto medium = std::make_shared<TMedium>();
        TFolderCounter counter(CountOn(medium));
        QVERIFY(!counter.Look(m_start));
        QVERIFY(QTest::qWaitFor([&] { return medium->counts == 1; }, 60000));
        counter.Refresh();
        QVERIFY(!counter.Look(m_start + TFolderCounter::period));
        QCOMPARE(int(medium->counts), 1);
        medium->permits.release();
        QVERIFY(WaitForFigures(counter, m_start));
        QCOMPARE(counter.Look(m_start)->freeBytes, std::optional<std::int64_t>(1));
        medium->permits.release(10);
    }

    void countsAgainWhenItIsDueOrAsked()
    {
        const auto medium = std::make_shared<TMedium>();
        medium->permits.release(10);
        TFolderCounter counter(CountOn(medium));
        QVERIFY(WaitForFigures(counter, m_start));
        QCOMPARE(int(medium->counts), 1);
        const auto isCounted = [&](int count, TFolderCounter::TClock::time_point now) {
            return QTest::qWaitFor([&] { return counter.Look(now)->freeBytes == count; }, 60000);
        };
        counter.Refresh();
        QVERIFY(isCounted(2, m_start));
        QVERIFY(isCounted(3, m_start + TFolderCounter::period));
    }

    void hidesTheFiguresOfAMediumThatFellSilent()
    {
        const auto medium = std::make_shared<TMedium>();
        medium->permits.release();
        TFolderCounter counter(CountOn(medium));
        QVERIFY(WaitForFigures(counter, m_start));
        const auto muchLater = m_start + std::chrono::hours(1); // the figures were not shown
        QVERIFY(counter.Look(muchLater));
        const auto limit = muchLater + TFolderCounter::countLimit;
        QVERIFY(counter.Look(limit - std::chrono::seconds(1)));
        QVERIFY(!counter.Look(limit));
        medium->permits.release(10);
        QVERIFY(WaitForFigures(counter, limit));
    }

    void endsWhileTheMediumIsSilent()
    {
        const auto medium = std::make_shared<TMedium>();
        {
            TFolderCounter counter(CountOn(medium));
            counter.Look(m_start);
            QVERIFY(QTest::qWaitFor([&] { return medium->counts == 1; }, 60000));
        }
        QCOMPARE(medium->permits.available(), 0); // the count still runs
        medium->permits.release(10);
        QVERIFY(QTest::qWaitFor([&] { return medium.use_count() == 1; }, 60000));
    }
};

KELVO_TEST_MAIN(TFolderCounterTest)
#include "tst_FolderCounter.moc"
