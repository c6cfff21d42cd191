// The window shows the progress, the unpacking and the outcome of the plug-in's operations.
#include "console/window/THomePage.h"
#include "console/window/TSessionFixture.h"
#include "console/window/TStatusBar.h"
#include "core/TKelvoInterface.h"
#include "host/TFileSystemHelper.h"
#include "host/TMessageDialog.h"
#include "host/TProgressDialog.h"
#include "host/TPushButton.h"
#include "hostimpl/Unpacking.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QSemaphore>
#include <QtWidgets/QLabel>

#include <algorithm>
#include <functional>
#include <thread>

namespace {

const QStringList names{QStringLiteral("a.zip"), QStringLiteral("b.zip")};

// An operation with files, as the hub tells it.
struct TOperation
{
    const char* name;
    void (*request)(TKelvoInterface& hub);
    void (TKelvoInterface::*file)(int, QString);
    void (TKelvoInterface::*end)(int, KelvoFileTransferErrorDetailsList);
};
const TOperation operations[] = {
    {"upload", [](TKelvoInterface& hub) { Q_EMIT hub.KelvoUploadRequested(0, names); },
     &TKelvoInterface::KelvoUploadingFile, &TKelvoInterface::KelvoUploadComplete},
    {"download", [](TKelvoInterface& hub) { Q_EMIT hub.KelvoDownloadRequested(0, names, {}); },
     &TKelvoInterface::KelvoDownloadingFile, &TKelvoInterface::KelvoDownloadComplete},
    {"deletion", [](TKelvoInterface& hub) { Q_EMIT hub.KelvoDeleteFilesRequested(0, names, {}); },
     &TKelvoInterface::KelvoDeletingFile, &TKelvoInterface::KelvoDeleteComplete},
};

struct TOperationDialog : TMessageDialog
{
    TOperationDialog() : TMessageDialog(nullptr, QString(), QString(), eOperation, false, QPixmap())
    {
        ShowWindow(true);
    }
};

} // namespace

Q_DECLARE_METATYPE(TOperation)

class TWindowOperationsTest : public TSessionFixture
{
    Q_OBJECT

private:
    static KelvoFileTransferErrorDetailsList Errors(bool hasError)
    {
        KelvoFileTransferErrorDetailsList errors;
        if (hasError) {
            errors << KelvoFileTransferErrorDetails();
        }
        return errors;
    }

    static bool IsTransferShown(const QWidget& dialog)
    {
        const auto widgets = dialog.findChildren<QWidget*>();
        return std::any_of(widgets.cbegin(), widgets.cend(), [](const QWidget* widget) {
            return widget->inherits("TTransferProgress") && widget->isVisible();
        });
    }

    static void PressCancel(TMessageDialog& dialog)
    {
        dialog.GetMessageDialogButton(TMessageDialog::eButton1)->click();
    }

    // Runs `work` while an archive is being unpacked.
    static void UnpackDuring(const std::function<void()>& work)
    {
        QSemaphore isUnpacking;
        QSemaphore hasWorked;
        hostimpl::ObserveUnpacking([&](const hostimpl::TUnpackingResult&) {
            isUnpacking.release();
            hasWorked.acquire();
        });
        std::thread worker([] {
            QString errorText;
            TFileSystemHelper::Unzip(QStringLiteral("/nowhere/a.zip"), QString(), errorText);
        });
        isUnpacking.acquire();
        work();
        hasWorked.release();
        worker.join();
        hostimpl::ObserveUnpacking({});
    }

    // An EOutcome; -1 without a sign.
    static int ShownOutcome(const QWidget& dialog)
    {
        const auto widgets = dialog.findChildren<QWidget*>();
        const auto sign = std::find_if(widgets.cbegin(), widgets.cend(), [](const QWidget* widget) {
            return widget->inherits("TOutcomeSign");
        });
        return sign == widgets.cend() ? -1 : (*sign)->property("outcome").toInt();
    }

private Q_SLOTS:
    // After the last transfer of an operation, the files are unpacked for a while.
    void showsNoEndedTransferWhileFilesAreUnpacked()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TOperationDialog dialog;
        dialog.EnableButton(TMessageDialog::eButton0, false);
        const auto isTransferShown = [&dialog] { return IsTransferShown(dialog); };
        Q_EMIT Hub()->KelvoDownloadRequested(0, {QStringLiteral("a.zip")}, {});
        m_status.transfer = kesdkimpl::TransferStatus();
        m_status.transfer->phase = kesdkimpl::EPhase::eWaits;
        QVERIFY(QTest::qWaitFor(isTransferShown, 60000));
        m_status.transfer.reset();
        QVERIFY(QTest::qWaitFor([&] { return !isTransferShown(); }, 60000));
    }

    // The transfer is the first to notice that the service does not answer.
    void showsAWaitingTransferAlsoOnTheHomePage()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        const auto card = [this] {
            const QStringList texts = m_session->Window()->Home().Texts();
            return *std::find_if(texts.cbegin(), texts.cend(), [](const QString& text) {
                return text.startsWith(QLatin1String("Connection\n"));
            });
        };
        m_status.session = kesdkimpl::ESession::eLoggedIn;
        m_status.transfer = kesdkimpl::TransferStatus();
        Q_EMIT Hub()->KelvoDownloadRequested(0, names, {});
        QCOMPARE(card(), QStringLiteral("Connection\nConnected"));
        m_status.transfer->phase = kesdkimpl::EPhase::eWaits;
        Q_EMIT Hub()->KelvoDownloadingFile(0, names.first());
        QString words = m_session->Window()->Status().LinkText();
        QVERIFY2(words.startsWith(QLatin1String("Nothing moves\nuntil ")), qPrintable(words));
        QCOMPARE(card(), QStringLiteral("Connection\n") +
                             words.replace(QLatin1Char('\n'), QLatin1Char(' ')));
    }

    void showsTheArchiveThatIsUnpacked()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TOperationDialog dialog;
        dialog.EnableButton(TMessageDialog::eButton0, false);
        QSemaphore hasLooked;
        hostimpl::ObserveUnpacking(
            [&hasLooked](const hostimpl::TUnpackingResult&) { hasLooked.acquire(); });
        std::thread worker([] {
            QString errorText;
            TFileSystemHelper::Unzip(QStringLiteral("/nowhere/a.zip"), QString(), errorText);
        });
        Q_EMIT Hub()->KelvoDownloadRequested(0, {QStringLiteral("a.zip")}, {});
        const QString word = QStringLiteral("Unpacking...");
        const auto linkText = [this] { return m_session->Window()->Status().LinkText(); };
        const bool isInBar = QTest::qWaitFor([&] { return linkText() == word; }, 60000);
        const auto labels = dialog.findChildren<QLabel*>();
        const bool isInDialog =
            std::any_of(labels.cbegin(), labels.cend(), [](const QLabel* label) {
                return label->isVisible() && label->text() == QLatin1String("Unpacking a.zip...");
            });
        hasLooked.release();
        worker.join();
        hostimpl::ObserveUnpacking({});
        QVERIFY(isInBar);
        QVERIFY(isInDialog);
        QVERIFY(QTest::qWaitFor([&] { return linkText() != word; }, 60000));
    }

    void showsThatACancelledDownloadEndsAfterTheUnpacking()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TOperationDialog dialog;
        dialog.EnableButton(TMessageDialog::eButton0, false);
        Q_EMIT Hub()->KelvoDownloadRequested(0, names, {});
        PressCancel(dialog);
        const auto poll = [] { Q_EMIT Hub()->KelvoDownloadingFile(0, names.first()); };
        UnpackDuring(poll);
        const auto labels = dialog.findChildren<QLabel*>();
        const auto isShown = [](const QLabel* label) {
            return label->isVisible() &&
                   label->text() == QLatin1String("Unpacking a.zip...  ends when all are unpacked");
        };
        QVERIFY(std::any_of(labels.cbegin(), labels.cend(), isShown));
    }

    // No poll comes between the hub's signals, and each signal is a poll.
    void keepsWhatItShowsBetweenTwoFilesAndBetweenTwoArchives()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TOperationDialog dialog;
        dialog.EnableButton(TMessageDialog::eButton0, false);
        const auto poll = [this] { Q_EMIT Hub()->KelvoDownloadingFile(0, names.first()); };
        const auto linkText = [this] { return m_session->Window()->Status().LinkText(); };
        const QString idle = linkText();
        Q_EMIT Hub()->KelvoDownloadRequested(0, names, {});
        m_status.transfer = kesdkimpl::TransferStatus();
        m_status.transfer->phase = kesdkimpl::EPhase::eVerifies;
        poll();
        const QString transfer = linkText();
        QVERIFY(transfer != idle);
        m_status.transfer.reset();
        poll();
        QCOMPARE(linkText(), transfer);
        QVERIFY(IsTransferShown(dialog));
        UnpackDuring(poll);
        poll();
        QCOMPARE(linkText(), QStringLiteral("Unpacking..."));
        QVERIFY(IsTransferShown(dialog));
        poll();
        QCOMPARE(linkText(), idle);
        QVERIFY(!IsTransferShown(dialog));
    }

    void showsALostLinkBetweenTwoFilesAtOnce()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        m_status.session = kesdkimpl::ESession::eLoggedIn;
        Q_EMIT Hub()->KelvoDownloadRequested(0, names, {});
        m_status.transfer = kesdkimpl::TransferStatus();
        m_status.transfer->phase = kesdkimpl::EPhase::eVerifies;
        Q_EMIT Hub()->KelvoDownloadingFile(0, names.first());
        m_status.transfer.reset();
        m_status.problem = kesdkimpl::EProblem::eNoNetwork;
        Q_EMIT Hub()->KelvoDownloadingFile(0, names.last());
        QCOMPARE(m_session->Window()->Status().LinkText(), QStringLiteral("No network"));
    }

    void showsHowAnOperationEnded_data()
    {
        QTest::addColumn<TOperation>("operation");
        QTest::addColumn<int>("started");
        QTest::addColumn<bool>("hasError");
        QTest::addColumn<int>("outcome"); // an EOutcome
        for (const TOperation& each : operations) {
            QTest::addRow("%s, success", each.name) << each << 2 << false << 1;
            QTest::addRow("%s, failure", each.name) << each << 2 << true << 2;
            QTest::addRow("%s, cancelled before the second file", each.name)
                << each << 1 << false << 0;
        }
    }

    void showsHowAnOperationEnded()
    {
        QFETCH(TOperation, operation);
        QFETCH(int, started);
        QFETCH(bool, hasError);
        QFETCH(int, outcome);
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TOperationDialog dialog;
        const auto run = [&] {
            operation.request(*Hub());
            dialog.EnableButton(TMessageDialog::eButton0, false);
            for (int file = 0; file < started; ++file) {
                Q_EMIT(Hub()->*operation.file)(0, names.at(file));
            }
        };
        run();
        Q_EMIT(Hub()->*operation.end)(0, Errors(hasError));
        QCOMPARE(ShownOutcome(dialog), 0); // the operation runs until the dialog can be closed
        dialog.EnableButton(TMessageDialog::eButton0, true);
        QCOMPARE(ShownOutcome(dialog), outcome);
        run();
        dialog.EnableButton(TMessageDialog::eButton0, true);
        QCOMPARE(ShownOutcome(dialog), 0); // not the outcome of the operation before
    }

    // No poll comes between the cancel and the operation's end.
    void showsWhereACancelledOperationEnded()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TOperationDialog dialog;
        connect(&dialog, &TMessageDialog::Cancel, Hub(),
                [] { Hub()->OnCancelCurrentOperationRequested(); });
        for (const bool isCancelled : {true, false}) {
            Hub()->OnDownloadFromKelvoRequested(EKelvoProjects(0), names);
            QVERIFY(!IsTransferShown(dialog));
            dialog.EnableButton(TMessageDialog::eButton0, false);
            Q_EMIT Hub()->KelvoDownloadingFile(0, names.first());
            if (isCancelled) {
                PressCancel(dialog);
            }
            Hub()->RevertCancelCurrentOperation(); // as the worker does before the end
            Hub()->OnKelvoDownloadComplete(0, {});
            QVERIFY(!IsTransferShown(dialog));
            dialog.EnableButton(TMessageDialog::eButton0, true);
            QCOMPARE(IsTransferShown(dialog), isCancelled);
        }
    }

    // The worker tells no progress of a file that is gone from the service, only the error.
    void countsAFileThatIsGoneFromTheService()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        for (const int gone : {0, 1}) {
            TOperationDialog dialog;
            Hub()->OnDownloadFromKelvoRequested(EKelvoProjects(0), names);
            dialog.EnableButton(TMessageDialog::eButton0, false);
            Q_EMIT Hub()->KelvoDownloadingFile(0, names.at(1 - gone));
            PressCancel(dialog); // after the worker has looked
            Hub()->OnKelvoDownloadComplete(0, {{names.at(gone), QString()}});
            dialog.EnableButton(TMessageDialog::eButton0, true);
            QVERIFY(!IsTransferShown(dialog)); // the operation has come to all files
        }
    }

    // The worker stops before the next file.
    void showsWhereALogoutEndedAnOperation()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TOperationDialog dialog;
        Hub()->OnDownloadFromKelvoRequested(EKelvoProjects(0), names);
        Q_EMIT Hub()->KelvoDownloadingFile(0, names.first());
        Hub()->OnLoggedOutOfKelvo();
        Hub()->OnKelvoDownloadComplete(0, {});
        QVERIFY(IsTransferShown(dialog));
    }

    void showsHowTheSetUpEnded()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        for (const bool hasError : {false, true}) {
            TProgressDialog dialog(nullptr, QString(), TProgressDialog::ePercentage, true);
            dialog.ShowWindow(false);
            Q_EMIT Hub()->KelvoUserInboxSetupInProgress(50);
            dialog.SetProgress(50);
            QCOMPARE(ShownOutcome(dialog), 0);
            Q_EMIT Hub()->KelvoUserInboxSetupComplete(Errors(hasError));
            dialog.SetProgress(100);
            QCOMPARE(ShownOutcome(dialog), hasError ? 2 : 1);
        }
    }

    void showsThatALoginFailedAndNoSignBesideANotice()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                              QPixmap());
        for (const bool hasFailed : {false, true, false}) {
            Hub()->OnLoggingIntoKelvo();
            if (hasFailed) {
                Hub()->OnLoginToKelvoFailed(QString());
            }
            dialog.ShowWindow(true);
            QCOMPARE(ShownOutcome(dialog), hasFailed ? 2 : 0);
            dialog.CloseWindow();
        }
    }
};

KELVO_WIDGET_TEST_MAIN(TWindowOperationsTest)
#include "tst_WindowOperations.moc"
