// Message dialogs: the rules of their buttons and messages, and what slots may do.
#include "TDialog.h"
#include "host/TWindow.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"
#include "widgets/TOutcomeSign.h"

#include <QtTest/QSignalSpy>

#include <memory>

namespace {

QStringList Words(const char* words)
{
    return QString::fromLatin1(words).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace

class tst_MessageDialog : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void hasTheButtonsOfItsType_data();
    void hasTheButtonsOfItsType();
    void emitsTheAnswerAndCloses_data();
    void emitsTheAnswerAndCloses();
    void aDoublePressAnswersOnce();
    void cancelKeepsTheDialogOpen();
    void aTouchPressesTheButton();
    void disabledButtonsDoNothing();
    void backGivesTheHarmlessAnswer_data();
    void backGivesTheHarmlessAnswer();
    void backDoesNotCloseARunningOperation();
    void backHidesADialogWithoutAnEnabledButton();
    void aQuestionStartsWithTheFocusOnNo();
    void anEnabledButtonTakesTheFocus();
    void buildsItsContentOnFirstUse();
    void theMessageMayChangeAtAnyTime();
    void aNewMessageChangesNothingElse();
    void showingAgainOnlyRaisesTheDialog();
    void staysOpenIfASlotShowsItAgain();
    void aSlotMayDeleteTheDialog();
    void aDialogMayOpenAnother();
};

void tst_MessageDialog::hasTheButtonsOfItsType_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::newRow("acknowledge") << 0 << QStringLiteral("OK") << QString();
    QTest::newRow("operation") << 2 << QStringLiteral("Close") << QStringLiteral("Cancel");
    QTest::newRow("question") << 4 << QStringLiteral("Yes") << QStringLiteral("No");
}

void tst_MessageDialog::hasTheButtonsOfItsType()
{
    QFETCH(int, type);
    QFETCH(QString, first);
    QFETCH(QString, second);
    TDialog dialog(static_cast<TMessageDialog::EMessageDialogType>(type));
    QCOMPARE(dialog.Button(0).text(), first);
    TPushButton* const other = dialog.dialog.GetMessageDialogButton(TMessageDialog::eButton1);
    QCOMPARE(other == nullptr ? QString() : other->text(), second);
    QCOMPARE(dialog.Busy() != nullptr, type == TMessageDialog::eOperation);
    const auto* const sign = dialog.dialog.findChild<TOutcomeSign*>();
    QCOMPARE(sign != nullptr, type != TMessageDialog::eQuestion);
    QVERIFY2(sign == nullptr || sign->isHidden(), "nothing has ended");
    const QList<TPushButton*> buttons = dialog.dialog.findChildren<TPushButton*>();
    QCOMPARE(buttons.size(), second.isEmpty() ? 1 : 2);
    for (TPushButton* const button : buttons) {
        QVERIFY(button->width() >= hostimpl::TOUCH_SIZE);
        QVERIFY(button->height() >= hostimpl::TOUCH_SIZE);
    }
    dialog.dialog.EnableButton(static_cast<TMessageDialog::EMessageDialogButton>(7), false);
    QVERIFY(dialog.dialog.GetMessageDialogButton(
                static_cast<TMessageDialog::EMessageDialogButton>(-1)) == nullptr);
}

void tst_MessageDialog::emitsTheAnswerAndCloses_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("button");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("ok") << 0 << 0 << Words("ok closed");
    QTest::newRow("close") << 2 << 0 << Words("ok closed");
    QTest::newRow("yes") << 4 << 0 << Words("yes closed");
    QTest::newRow("no") << 4 << 1 << Words("no closed");
}

void tst_MessageDialog::emitsTheAnswerAndCloses()
{
    QFETCH(int, type);
    QFETCH(int, button);
    QFETCH(QStringList, expected);
    TDialog dialog(static_cast<TMessageDialog::EMessageDialogType>(type));
    dialog.Button(button).OnWheelPressed();
    QCOMPARE(dialog.signalNames, expected);
    QVERIFY(!dialog.dialog.isVisible());
}

void tst_MessageDialog::aDoublePressAnswersOnce()
{
    TDialog dialog(TMessageDialog::eQuestion);
    dialog.Button(0).click();
    dialog.Button(0).click();
    dialog.Button(1).click();
    QCOMPARE(dialog.signalNames, Words("yes closed"));
}

void tst_MessageDialog::cancelKeepsTheDialogOpen()
{
    TDialog dialog(TMessageDialog::eOperation);
    dialog.Button(1).click();
    QCOMPARE(dialog.signalNames, Words("cancel"));
    QVERIFY(dialog.dialog.isVisible());
}

void tst_MessageDialog::aTouchPressesTheButton()
{
    TDialog dialog(TMessageDialog::eQuestion);
    QTest::mouseClick(&dialog.Button(0), Qt::LeftButton);
    QCOMPARE(dialog.signalNames, Words("yes closed"));
}

void tst_MessageDialog::disabledButtonsDoNothing()
{
    TDialog dialog(TMessageDialog::eOperation);
    dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
    dialog.dialog.EnableButton(TMessageDialog::eButton1, false);
    for (int button = 0; button < 2; ++button) {
        QTest::mouseClick(&dialog.Button(button), Qt::LeftButton);
        dialog.Button(button).OnWheelPressed();
        dialog.Button(button).click();
    }
    QVERIFY(dialog.signalNames.isEmpty());
    QVERIFY(dialog.dialog.isVisible());
}

void tst_MessageDialog::backGivesTheHarmlessAnswer_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("acknowledge") << 0 << Words("ok closed");
    QTest::newRow("operation") << 2 << Words("ok closed");
    QTest::newRow("question") << 4 << Words("no closed");
}

void tst_MessageDialog::backGivesTheHarmlessAnswer()
{
    QFETCH(int, type);
    QFETCH(QStringList, expected);
    TDialog byBack(static_cast<TMessageDialog::EMessageDialogType>(type));
    QVERIFY(byBack.dialog.OnBackPressed());
    QCOMPARE(byBack.signalNames, expected);
    TDialog byKey(static_cast<TMessageDialog::EMessageDialogType>(type));
    QTest::keyClick(&byKey.dialog, Qt::Key_Escape);
    QCOMPARE(byKey.signalNames, expected);
    TDialog byClosing(static_cast<TMessageDialog::EMessageDialogType>(type));
    byClosing.dialog.close();
    QCOMPARE(byClosing.signalNames, expected);
}

void tst_MessageDialog::backDoesNotCloseARunningOperation()
{
    TDialog dialog(TMessageDialog::eOperation);
    dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
    QVERIFY(dialog.dialog.OnBackPressed());
    dialog.dialog.close();
    QVERIFY(dialog.dialog.isVisible());
    QVERIFY(dialog.signalNames.isEmpty());
}

// Otherwise the dialog would lock the operator out until the operation has ended.
void tst_MessageDialog::backHidesADialogWithoutAnEnabledButton()
{
    TDialog dialog(TMessageDialog::eOperation);
    for (const auto button : {TMessageDialog::eButton0, TMessageDialog::eButton1}) {
        dialog.dialog.EnableButton(button, false);
    }
    QTest::keyClick(&dialog.dialog, Qt::Key_Escape);
    QVERIFY(!dialog.dialog.isVisible());
    QCOMPARE(dialog.signalNames, Words("closed")); // neither an answer nor a cancel
    dialog.dialog.ShowWindow(true);
    dialog.dialog.close();
    QVERIFY(!dialog.dialog.isVisible());
}

void tst_MessageDialog::aQuestionStartsWithTheFocusOnNo()
{
    TDialog dialog(TMessageDialog::eQuestion);
    QCOMPARE(dialog.dialog.focusWidget(), &dialog.Button(1));
    dialog.dialog.OnWheelTurned(-1);
    QCOMPARE(dialog.dialog.focusWidget(), &dialog.Button(0));
    dialog.Button(0).click();
    dialog.dialog.ShowWindow(true);
    QCOMPARE(dialog.dialog.focusWidget(), &dialog.Button(1));
}

// The steps of an operation: running, cancelling, finished.
void tst_MessageDialog::anEnabledButtonTakesTheFocus()
{
    TDialog dialog(TMessageDialog::eOperation);
    QVERIFY(QTest::qWaitForWindowActive(&dialog.dialog));
    dialog.dialog.EnableButton(TMessageDialog::eButton1, true);
    dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
    QCOMPARE(dialog.dialog.focusWidget(), &dialog.Button(1));
    dialog.dialog.EnableButton(TMessageDialog::eButton1, false);
    dialog.dialog.EnableButton(TMessageDialog::eButton0, true);
    QCOMPARE(dialog.dialog.focusWidget(), &dialog.Button(0));
}

void tst_MessageDialog::buildsItsContentOnFirstUse()
{
    TMessageDialog dialog(nullptr, QStringLiteral("Title"), QStringLiteral("Message"),
                          TMessageDialog::eOperation, false, QPixmap());
    QVERIFY(dialog.GetMessageDialogButton(TMessageDialog::eButton0) == nullptr);
    QVERIFY(dialog.findChildren<QWidget*>().isEmpty());
    QCOMPARE(dialog.Message(), QStringLiteral("Message"));
    QCOMPARE(dialog.Title(), QStringLiteral("Title"));
    QCOMPARE(dialog.Type(), TMessageDialog::eOperation);
    dialog.SetupIfRequired();
    TPushButton* const button = dialog.GetMessageDialogButton(TMessageDialog::eButton0);
    QVERIFY(button != nullptr);
    button->SetDisabledBackground(QStringLiteral("NewDisabledButton"));
    dialog.SetupIfRequired();
    QCOMPARE(dialog.GetMessageDialogButton(TMessageDialog::eButton0), button);
    QVERIFY(!dialog.isVisible());
}

void tst_MessageDialog::theMessageMayChangeAtAnyTime()
{
    TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                          QPixmap());
    dialog.SetMessage(QStringLiteral("before"));
    dialog.ShowWindow(true);
    QCOMPARE(dialog.findChild<TMessageText*>()->toPlainText(), QStringLiteral("before"));
    dialog.SetMessage(QStringLiteral("while"));
    QCOMPARE(dialog.findChild<TMessageText*>()->toPlainText(), QStringLiteral("while"));
    QCOMPARE(dialog.Message(), QStringLiteral("while"));
}

void tst_MessageDialog::aNewMessageChangesNothingElse()
{
    TDialog dialog(TMessageDialog::eOperation);
    dialog.dialog.EnableButton(TMessageDialog::eButton0, false);
    dialog.dialog.CloseWindow();
    dialog.dialog.SetMessage(QStringLiteral("Uploading x.zip"));
    QVERIFY(!dialog.dialog.isVisible());
    QVERIFY(!dialog.Button(0).isEnabled());
    QVERIFY(dialog.Button(1).isEnabled());
}

void tst_MessageDialog::showingAgainOnlyRaisesTheDialog()
{
    TDialog dialog(TMessageDialog::eQuestion);
    dialog.Button(0).setFocus();
    const QRect place = dialog.dialog.geometry();
    dialog.dialog.ShowWindow(false);
    QVERIFY(dialog.dialog.isModal());
    QCOMPARE(dialog.dialog.geometry(), place);
    QCOMPARE(dialog.dialog.focusWidget(), &dialog.Button(0));
    QVERIFY(dialog.signalNames.isEmpty());
}

void tst_MessageDialog::staysOpenIfASlotShowsItAgain()
{
    TDialog dialog(TMessageDialog::eAcknowledge);
    int times = 0;
    connect(&dialog.dialog, &TMessageDialog::Ok, this, [&] {
        if (++times == 1) {
            dialog.dialog.SetMessage(QStringLiteral("once more"));
            dialog.dialog.ShowWindow(true);
        }
    });
    dialog.Button(0).click();
    QVERIFY(dialog.dialog.isVisible());
    dialog.Button(0).click();
    QVERIFY(!dialog.dialog.isVisible());
}

void tst_MessageDialog::aSlotMayDeleteTheDialog()
{
    auto* const dialog = new TMessageDialog(nullptr, QString(), QString(),
                                            TMessageDialog::eAcknowledge, false, QPixmap());
    const QPointer<TMessageDialog> watched = dialog;
    connect(dialog, &TMessageDialog::Ok, this, [dialog] { delete dialog; });
    dialog->ShowWindow(true);
    dialog->OnBackPressed();
    QVERIFY(watched.isNull());
}

void tst_MessageDialog::aDialogMayOpenAnother()
{
    TDialog question(TMessageDialog::eQuestion);
    TMessageDialog progress(nullptr, QString(), QString(), TMessageDialog::eOperation, false,
                            QPixmap());
    connect(&question.dialog, &TMessageDialog::Yes, &progress,
            [&progress] { progress.ShowWindow(true); });
    question.Button(0).click();
    QVERIFY(!question.dialog.isVisible());
    QVERIFY(progress.isVisible());
    QCOMPARE(QApplication::activeModalWidget(), &progress);
}

KELVO_WIDGET_TEST_MAIN(tst_MessageDialog)
#include "tst_messagedialog.moc"
