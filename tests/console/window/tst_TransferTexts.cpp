// The words about a running transfer, in the status bar and in the dialog.
#include "console/window/TransferTexts.h"
#include "hostimpl/Clock.h"
#include "support/TTestCase.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>
#include <QtCore/QLocale>
#include <QtCore/QRegularExpression>

using console::EHubSignal;
using console::TFileCount;
using kesdkimpl::EPhase;
using kesdkimpl::LinkStatus;

class TTransferTextsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static LinkStatus Moving(std::int64_t done, std::int64_t total, std::int64_t rate = 0)
    {
        LinkStatus status;
        status.session = kesdkimpl::ESession::eLoggedIn;
        status.transfer = kesdkimpl::TransferStatus();
        status.transfer->doneBytes = done;
        status.transfer->totalBytes = total;
        if (rate > 0) {
            status.transfer->bytesPerSecond = rate;
        }
        status.transfer->waitsUntilS = QDateTime({2026, 11, 22}, {11, 42}).toSecsSinceEpoch();
        return status;
    }

    static TFileCount ThirdOfTwelve() { return ThirdOf(12); }

    static TFileCount ThirdOf(int count)
    {
        TFileCount files;
        console::THubEvent event;
        event.signal = EHubSignal::eDownloadRequested;
        event.fileNames = QStringList();
        for (int i = 0; i < count; ++i) {
            *event.fileNames << QString::number(i);
        }
        files.OnHubEvent(event);
        event.signal = EHubSignal::eDownloadingFile;
        event.fileName = QStringLiteral("2");
        files.OnHubEvent(event);
        return files;
    }

private Q_SLOTS:
    void init()
    {
        hostimpl::SetClock([] { return QDateTime({2026, 11, 22}, {11, 37}); });
    }
    void cleanup()
    {
        hostimpl::SetClock({});
        QLocale::setDefault(QLocale(QLocale::English));
        TTestCase::cleanup();
    }

    void tellsSizeRateTimeAndFile()
    {
        const LinkStatus status = Moving(1'200'000, 2'800'000, 10'000);
        const hostimpl::TTransferState dialog = console::TransferProgress(status, ThirdOfTwelve());
        QCOMPARE(dialog.percent.value(), 42);
        QCOMPARE(dialog.text, QStringLiteral("1.2 of 2.8 MB  file 3 of 12\n10.0 kB/s  3 min left"));
        QVERIFY(dialog.isMoving);
        const console::TStatusWords bar = console::TransferWords(status, ThirdOfTwelve());
        QCOMPARE(bar.text, QStringLiteral("42 %  1.2 of 2.8 MB\n10.0 kB/s  3 min left  3/12"));
        QCOMPARE(bar.iconName, QStringLiteral("link-up"));
    }

    void tellsNoRateAndNoTimeBeforeTheyAreKnown()
    {
        const LinkStatus status = Moving(0, 900);
        QCOMPARE(console::TransferProgress(status, {}).text, QStringLiteral("0 of 900 bytes\n"));
        QCOMPARE(console::TransferWords(status, {}).text, QStringLiteral("0 %  0 of 900 bytes"));
    }

    void tellsWhyNothingMovesAndUntilWhenItWaits()
    {
        LinkStatus status = Moving(1'200'000, 2'800'000);
        status.transfer->phase = EPhase::eWaits;
        status.problem = kesdkimpl::EProblem::eNoNetwork;
        const hostimpl::TTransferState dialog = console::TransferProgress(status, ThirdOfTwelve());
        QCOMPARE(dialog.text, QStringLiteral("1.2 of 2.8 MB  file 3 of 12\n"
                                             "No network. Waiting until 11:42."));
        QVERIFY(!dialog.isMoving);
        const console::TStatusWords bar = console::TransferWords(status, ThirdOfTwelve());
        QCOMPARE(bar.text, QStringLiteral("No network\nuntil 11:42"));
        QCOMPARE(bar.iconName, QStringLiteral("link-down"));
        status.problem = kesdkimpl::EProblem::eNone;
        QVERIFY(console::TransferProgress(status, {})
                    .text.endsWith(QStringLiteral("Nothing moves. Waiting until 11:42.")));
    }

    void tellsThatTheFileIsChecked()
    {
        LinkStatus status = Moving(900, 900);
        status.transfer->phase = EPhase::eVerifies;
        const hostimpl::TTransferState dialog = console::TransferProgress(status, {});
        QCOMPARE(dialog.percent.value(), 100);
        QVERIFY(dialog.text.endsWith(QStringLiteral("Checking the file...")));
        QVERIFY(dialog.isMoving);
    }

    // The SDK's threads are ahead of the hub's signals.
    void tellsTheFirstFileBeforeTheHubDoes()
    {
        TFileCount files;
        console::THubEvent event;
        event.signal = EHubSignal::eDownloadRequested;
        event.fileNames = QStringList{QStringLiteral("a.zip"), QStringLiteral("b.zip")};
        files.OnHubEvent(event);
        const LinkStatus status = Moving(0, 900);
        QCOMPARE(console::TransferProgress(status, files).text,
                 QStringLiteral("0 of 900 bytes  file 1 of 2\n"));
        QVERIFY(console::TransferWords(status, files).text.endsWith(QStringLiteral("1/2")));
    }

    void tellsTheArchiveThatIsUnpacked()
    {
        LinkStatus status;
        status.session = kesdkimpl::ESession::eLoggedIn;
        status.problem = kesdkimpl::EProblem::eNoNetwork;
        const auto dialog = console::WorkProgress(status, QStringLiteral("a.zip"), {});
        QVERIFY(dialog && !dialog->percent && dialog->isMoving);
        QCOMPARE(dialog->text, QStringLiteral("Unpacking a.zip..."));
        const console::TStatusWords bar = console::WorkWords(status, QStringLiteral("a.zip"));
        QCOMPARE(bar.text, QStringLiteral("Unpacking..."));
        QCOMPARE(bar.iconName, QStringLiteral("link-down"));
    }

    void tellsThePlaceOfTheArchiveInItsOperation()
    {
        const auto text = [](const char* archive) {
            return console::WorkProgress({}, QString::fromLatin1(archive), ThirdOfTwelve())->text;
        };
        QCOMPARE(text("1"), QStringLiteral("Unpacking 1...  file 2 of 12"));
        QCOMPARE(text("of an earlier run"), QStringLiteral("Unpacking of an earlier run..."));
    }

    void tellsWhenACancelledOperationEnds()
    {
        TFileCount files = ThirdOfTwelve();
        files.NoteCancel();
        QCOMPARE(console::TransferProgress(Moving(100, 900), files).text,
                 QStringLiteral("100 of 900 bytes  ends after this file\n"));
        QCOMPARE(console::WorkProgress({}, QStringLiteral("1"), files)->text,
                 QStringLiteral("Unpacking 1...  ends when all are unpacked"));
    }

    void tellsWhereACancelledOperationEnded()
    {
        TFileCount files = ThirdOfTwelve();
        QVERIFY(!console::ResultState(files, {}));
        files.NoteCancel();
        const auto result = console::ResultState(files, {});
        QVERIFY(result && result->isResult && !result->isMoving && !result->percent);
        QCOMPARE(result->text, QStringLiteral("Ended after 3 of 12 files."));
        QVERIFY(!console::ResultState({}, {}));
    }

    void tellsWhichArchivesDidNotFit()
    {
        const auto textOf = [](const QStringList& names) {
            return console::ResultState(ThirdOfTwelve(), names)->text;
        };
        const QStringList names = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"),
                                   QStringLiteral("d")};
        QCOMPARE(textOf(names.mid(0, 2)), QStringLiteral("The disk is too full to unpack: a, b"));
        QCOMPARE(textOf(names), QStringLiteral("The disk is too full to unpack: a, b, c, \u2026"));
    }

    // The dialog wraps a text only between words, and has no room for many lines.
    void shortensTheNameOfTheArchive()
    {
        const QString name = QString(251, QLatin1Char('n')) + QStringLiteral(".zip");
        const QString text = console::WorkProgress({}, name, {})->text;
        QVERIFY(text.endsWith(QStringLiteral("n.zip...")));
        QVERIFY(text.size() < 80);
        const auto words = text.split(QRegularExpression(QStringLiteral("[ \\x{200b}]")));
        for (const QString& word : words) {
            QVERIFY(word.size() <= 33); // with the three points
        }
    }

    // A deletion, for example, moves no bytes.
    void tellsWhyAnOperationWithoutATransferWaits()
    {
        LinkStatus status;
        status.session = kesdkimpl::ESession::eLoggedIn;
        QVERIFY(!console::WorkProgress(status, {}, {}));
        QCOMPARE(console::WorkWords(status, {}).text, QStringLiteral("Connected"));
        status.problem = kesdkimpl::EProblem::eNoAnswer;
        const auto dialog = console::WorkProgress(status, {}, {});
        QVERIFY(dialog && !dialog->percent && !dialog->isMoving);
        QCOMPARE(dialog->text, QStringLiteral("Service does not answer"));
    }

    void roundsTheTimeLeftUp_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("seconds") << 119 << QStringLiteral("119 s left");
        QTest::newRow("minutes") << 121 << QStringLiteral("3 min left");
        QTest::newRow("hours") << 7201 << QStringLiteral("3 h left");
    }

    void roundsTheTimeLeftUp()
    {
        QFETCH(int, seconds);
        QFETCH(QString, text);
        const LinkStatus status = Moving(0, 1000LL * seconds, 1000);
        QVERIFY(console::TransferProgress(status, {}).text.endsWith(text));
    }

    void writesNumbersAsTheOperatorDoes()
    {
        QLocale::setDefault(QLocale(QStringLiteral("de")));
        const QString text = console::TransferProgress(Moving(1'200'000, 2'800'000), {}).text;
        QVERIFY2(text.startsWith(QStringLiteral("1,2 of 2,8 MB")), qUtf8Printable(text));
        TFileCount files = ThirdOf(1200);
        const LinkStatus slow = Moving(0, 7'200'000, 1);
        QCOMPARE(console::TransferProgress(slow, files).text,
                 QStringLiteral("0,0 of 7,2 MB  file 3 of 1.200\n1 Bytes/s  2.000 h left"));
        QVERIFY(console::TransferWords(slow, files).text.endsWith(QStringLiteral("3/1.200")));
        files.NoteCancel();
        QCOMPARE(console::ResultState(files, {})->text,
                 QStringLiteral("Ended after 3 of 1.200 files."));
    }

    void countsTheFilesOfAnOperation()
    {
        TFileCount files = ThirdOfTwelve();
        QVERIFY(files.IsRunning());
        QCOMPARE(files.Current(), 3);
        console::THubEvent event;
        event.signal = EHubSignal::eNewProjectFilesList;
        files.OnHubEvent(event);
        QCOMPARE(files.Current(), 3);
        event.signal = EHubSignal::eDownloadComplete;
        files.OnHubEvent(event);
        QVERIFY(!files.IsRunning());
    }
};

KELVO_TEST_MAIN(TTransferTextsTest)
#include "tst_TransferTexts.moc"
