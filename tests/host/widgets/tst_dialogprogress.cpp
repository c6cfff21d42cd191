// How a message dialog shows an operation: the busy indicator, the progress of the transfer, the
// outcome's sign.
#include "TDialog.h"
#include "host/TWindow.h"
#include "hostimpl/Display.h"
#include "hostimpl/Theme.h"
#include "hostimpl/TransferProgress.h"
#include "support/WidgetTestMain.h"
#include "widgets/TOutcomeSign.h"
#include "widgets/TTransferProgress.h"

class tst_DialogProgress : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void showsTheBusyIndicatorDuringAnOperation();
    void showsTheOutcomeBySignAndColour();
    void theBusyIndicatorStopsWhileHidden();
    void showsTheTransferWhileTheOperationRuns();
    void showsAResultOnceTheOperationHasEnded();
    void showsTheTransferInFullBesideALongMessage();
    void showsTheOutcomeOfOneMessage();
};

void tst_DialogProgress::showsTheBusyIndicatorDuringAnOperation()
{
    TDialog dialog(TMessageDialog::eOperation);
    QVERIFY(!dialog.Busy()->IsRunning());
    dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
    QVERIFY(dialog.Busy()->IsRunning());
    QVERIFY(dialog.Busy()->IsMoving());
    const QImage before = dialog.Busy()->grab().toImage();
    QTRY_VERIFY(dialog.Busy()->grab().toImage() != before);
    dialog.dialog.EnableButton(TMessageDialog::eButton1, false);
    QVERIFY(dialog.Busy()->IsRunning());
    dialog.dialog.EnableButton(TMessageDialog::eButton0, true);
    QVERIFY(!dialog.Busy()->IsRunning());
    QVERIFY(!dialog.Busy()->IsMoving());
}

// Without colours, the forms tell success and failure apart.
void tst_DialogProgress::showsTheOutcomeBySignAndColour()
{
    TDialog dialog(TMessageDialog::eOperation);
    const auto* const sign = dialog.dialog.findChild<TOutcomeSign*>();
    QMap<hostimpl::EOutcome, QImage> forms;
    for (const auto outcome : {hostimpl::EOutcome::eGood, hostimpl::EOutcome::eFailed}) {
        hostimpl::SetOutcome(hostimpl::EOutcomeOf::eFiles, outcome);
        dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
        QVERIFY(!sign->isVisible());
        dialog.dialog.EnableButton(TMessageDialog::eButton0, true);
        QVERIFY(sign->isVisible());
        const QImage image = dialog.Busy()->grab().toImage();
        const QColor colour =
            hostimpl::ThemeColour(outcome == hostimpl::EOutcome::eGood ? hostimpl::EColour::eGood
                                                                       : hostimpl::EColour::eAlert);
        const QColor ground = image.pixelColor(0, 0);
        QImage form(image.size(), QImage::Format_Mono);
        form.fill(0);
        int drawn = 0;
        for (int place = 0; place < image.width() * image.height(); ++place) {
            const QPoint point(place % image.width(), place / image.width());
            drawn += image.pixelColor(point) == colour ? 1 : 0;
            form.setPixel(point, image.pixelColor(point) == ground ? 0 : 1);
        }
        QVERIFY(drawn > 100);
        forms.insert(outcome, form);
    }
    QVERIFY(forms[hostimpl::EOutcome::eGood] != forms[hostimpl::EOutcome::eFailed]);
    hostimpl::SetOutcome(hostimpl::EOutcomeOf::eFiles, hostimpl::EOutcome::eNone);
    QVERIFY(!sign->isVisible());
}

void tst_DialogProgress::theBusyIndicatorStopsWhileHidden()
{
    TDialog dialog(TMessageDialog::eOperation);
    dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
    dialog.dialog.CloseWindow();
    QVERIFY(!dialog.Busy()->IsMoving());
    dialog.dialog.ShowWindow(true);
    QVERIFY(dialog.Busy()->IsMoving());
}

void tst_DialogProgress::showsTheTransferWhileTheOperationRuns()
{
    TDialog dialog(TMessageDialog::eOperation);
    dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
    const auto* const transfer = dialog.dialog.findChild<TTransferProgress*>();
    QVERIFY(transfer != nullptr);
    QVERIFY(!transfer->isVisible());
    const int height = dialog.dialog.height();
    hostimpl::SetTransferProgress(hostimpl::TTransferState{42, QStringLiteral("1.2 MB"), true});
    QVERIFY(transfer->isVisible());
    QCOMPARE(transfer->Percent(), 42);
    QCOMPARE(transfer->Text(), QStringLiteral("1.2 MB"));
    QVERIFY(dialog.Busy()->IsRunning());
    QVERIFY(dialog.dialog.height() > height);
    hostimpl::SetTransferProgress(hostimpl::TTransferState{42, QStringLiteral("Waiting"), false});
    QVERIFY2(!dialog.Busy()->IsRunning(), "nothing moves");
    const int withBar = transfer->HeightFor(400);
    hostimpl::SetTransferProgress(hostimpl::TTransferState{{}, QStringLiteral("Unpacking"), true});
    QVERIFY(!dialog.dialog.findChild<TProgressBar*>()->isVisible());
    QCOMPARE(transfer->Text(), QStringLiteral("Unpacking"));
    QVERIFY(transfer->HeightFor(400) < withBar);
    dialog.dialog.EnableButton(TMessageDialog::eButton0, true);
    QVERIFY(!transfer->isVisible());
    hostimpl::SetTransferProgress({});
}

// On the page of the lowest display, with large texts.
void tst_DialogProgress::showsAResultOnceTheOperationHasEnded()
{
    TDialog dialog(TMessageDialog::eOperation);
    const auto* const transfer = dialog.dialog.findChild<TTransferProgress*>();
    dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
    hostimpl::SetTransferProgress(
        hostimpl::TTransferState{{}, QStringLiteral("Ended."), false, true});
    QVERIFY(!transfer->isVisible());
    dialog.dialog.EnableButton(TMessageDialog::eButton0, true);
    QVERIFY(transfer->isVisible());
    hostimpl::SetTransferProgress({});
    QVERIFY(!transfer->isVisible());
}

void tst_DialogProgress::showsTheTransferInFullBesideALongMessage()
{
    const hostimpl::TDisplay& display = hostimpl::DisplayOf(QSize(800, 480));
    hostimpl::SetTextSize(display.PixelMillimetres() * display.scale, 1.15);
    QWidget page;
    page.resize(640, 404);
    page.show();
    TMessageDialog dialog(&page, QStringLiteral("Title"), QString(300, QLatin1Char('n')),
                          TMessageDialog::eOperation, false, QPixmap());
    dialog.ShowWindow(true);
    dialog.EnableButton(TMessageDialog::eButton0, false);
    hostimpl::SetTransferProgress(hostimpl::TTransferState{
        42, QStringLiteral("1.2 of 2.8 MB  file 3 of 12\nNothing moves. Waiting until 10:37."),
        false});
    QCoreApplication::processEvents();
    const auto& transfer = *dialog.findChild<TTransferProgress*>();
    QVERIFY(transfer.height() >= transfer.HeightFor(transfer.width()));
    QVERIFY(dialog.findChild<TMessageText*>()->height() >= dialog.fontMetrics().height());
    hostimpl::SetTransferProgress({});
    hostimpl::SetTextSize(hostimpl::DISPLAYS[0].PixelMillimetres(), 1.0);
}

void tst_DialogProgress::showsTheOutcomeOfOneMessage()
{
    using hostimpl::EOutcome;
    TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                          QPixmap());
    const auto shown = [&dialog] {
        return static_cast<EOutcome>(dialog.findChild<TOutcomeSign*>()->Outcome());
    };
    const auto setFailed = [] {
        hostimpl::SetOutcome(hostimpl::EOutcomeOf::eMessage, EOutcome::eFailed);
    };
    dialog.SetMessage(QStringLiteral("No files selected"));
    dialog.ShowWindow(true);
    QCOMPARE(shown(), EOutcome::eNone);
    setFailed();
    dialog.SetMessage(QStringLiteral("Unable to login")); // while the notice is shown
    QCOMPARE(shown(), EOutcome::eFailed);
    dialog.CloseWindow();
    dialog.ShowWindow(true);
    QCOMPARE(shown(), EOutcome::eNone);
    dialog.CloseWindow();
    setFailed();
    dialog.SetMessage(QStringLiteral("Unable to login"));
    QCOMPARE(shown(), EOutcome::eNone); // another dialog may come first
    dialog.ShowWindow(true);
    QCOMPARE(shown(), EOutcome::eFailed);
}

KELVO_WIDGET_TEST_MAIN(tst_DialogProgress)
#include "tst_dialogprogress.moc"
