// The login panel: its error texts, the set-up of the account, and its painting.
#include "support/WidgetTestMain.h"
#include "tests/screens/Dialogs.h"
#include "tests/screens/TMiniViewFixture.h"
#include "tests/screens/TTaggingTranslator.h"

#include <QtGui/QImage>
#include <QtTest/QtTest>

class tst_MiniViewDialogs : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void asksForMissingCredentials_data();
    void asksForMissingCredentials();
    void showsTheReasonOfAFailedLogin();
    void oneDialogServesAllErrors();
    void textsAreTranslated();
    void theFirstSetupReportShowsTheDialog();
    void laterReportsOnlyMoveTheBar();
    void aReportShowsAClosedDialogAgain();
    void theEndOfTheSetupLogsOut_data();
    void theEndOfTheSetupLogsOut();
    void anEndWithoutAReportLogsOut();
    void deletesItsDialogsWithItself();
    void highlightsTheStatusRow();
    void paintsNothingWhileTheStatusRowIsHidden();
};

namespace {

constexpr int GREY = 100;

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

TMessageDialog* ErrorDialog()
{
    return DialogTitled<TMessageDialog>(Text("KELVO Login Error"));
}

TProgressDialog* SetupDialog()
{
    return DialogTitled<TProgressDialog>(Text("Configure Kelvo Account"));
}

// The painting of the view on grey, without its child widgets and without a background.
QImage OwnPainting(QWidget& view)
{
    QImage image(view.size(), QImage::Format_RGB32);
    image.fill(qRgb(GREY, GREY, GREY));
    view.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

// The smallest rectangle around all differences.
QRect Difference(const QImage& a, const QImage& b)
{
    QRect rect;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (a.pixel(x, y) != b.pixel(x, y))
                rect |= QRect(x, y, 1, 1);
        }
    }
    return rect;
}

} // namespace

void tst_MiniViewDialogs::asksForMissingCredentials_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("password");
    QTest::newRow("neither") << QString() << QString();
    QTest::newRow("no name") << QString() << Text("secret");
    QTest::newRow("no password") << Text("olga") << QString();
}

void tst_MiniViewDialogs::asksForMissingCredentials()
{
    QFETCH(QString, name);
    QFETCH(QString, password);
    TMiniViewFixture f;
    f.Configure(name, password);
    f.Button().click();
    QVERIFY(ErrorDialog()->isVisible());
    QVERIFY(ErrorDialog()->isModal());
    QCOMPARE(ErrorDialog()->Message(), Text("Please enter a valid username and password."));
    QCOMPARE(f.Button().text(), Text("Login"));
    QVERIFY(f.log.Names().isEmpty());
}

void tst_MiniViewDialogs::showsTheReasonOfAFailedLogin()
{
    TMiniViewFixture f;
    QCOMPARE(ErrorDialog()->Type(), TMessageDialog::EMessageDialogType(0));
    QCOMPARE(ErrorDialog()->Message(), QString());
    QVERIFY(ErrorDialog()->parent() == nullptr);
    QVERIFY(!ErrorDialog()->isVisible());
    f.Hub().OnLoggingIntoKelvo();
    f.Hub().OnLoginToKelvoFailed(Text("The password is wrong."));
    QCOMPARE(f.Button().text(), Text("Login"));
    QVERIFY(f.Button().isEnabled());
    QVERIFY(ErrorDialog()->isVisible());
    QCOMPARE(ErrorDialog()->Message(), Text("The password is wrong."));
}

void tst_MiniViewDialogs::oneDialogServesAllErrors()
{
    TMiniViewFixture f;
    f.Hub().OnLoginToKelvoFailed(Text("First."));
    const TMessageDialog* const dialog = ErrorDialog();
    f.Hub().OnLoginToKelvoFailed(QString());
    QCOMPARE(ErrorDialog(), dialog);
    QCOMPARE(dialog->Message(), Text("Unable to login to KELVO."));
    f.Button().click();
    QCOMPARE(dialog->Message(), Text("Please enter a valid username and password."));
}

void tst_MiniViewDialogs::textsAreTranslated()
{
    const TTaggingTranslator translator;
    const QString tag = Text("{TKelvoMiniView|}");
    TMiniViewFixture f;
    const auto* const dialog = DialogTitled<TMessageDialog>(tag + Text("KELVO Login Error"));
    QVERIFY(dialog);
    f.Hub().OnLoginToKelvoFailed(QString());
    QCOMPARE(dialog->Message(), tag + Text("Unable to login to KELVO."));
    f.Button().click();
    QCOMPARE(dialog->Message(), tag + Text("Please enter a valid username and password."));

    f.Hub().OnKelvoUserInboxSetupInProgress(10);
    const auto* const setup = DialogTitled<TProgressDialog>(tag + Text("Configure Kelvo Account"));
    QVERIFY(setup);
    QCOMPARE(setup->Message(), tag + Text("Configuring Kelvo Account"));
    QCOMPARE(setup->BottomMessage(),
             tag + Text("You will be automatically logged out of Kelvo once completed"));
    f.Hub().OnKelvoUserInboxSetupComplete({});
    QCOMPARE(setup->Message(), tag + Text("Configuration complete"));
}

void tst_MiniViewDialogs::theFirstSetupReportShowsTheDialog()
{
    TMiniViewFixture f;
    QVERIFY(SetupDialog() == nullptr);
    f.Hub().OnKelvoUserInboxSetupInProgress(14);
    QVERIFY(SetupDialog() != nullptr);
    QVERIFY(SetupDialog()->parent() == nullptr);
    QVERIFY(SetupDialog()->isVisible());
    QVERIFY(!SetupDialog()->isModal());
    QCOMPARE(SetupDialog()->Message(), Text("Configuring Kelvo Account"));
    QCOMPARE(SetupDialog()->BottomMessage(),
             Text("You will be automatically logged out of Kelvo once completed"));
    QCOMPARE(SetupDialog()->Progress(), 14);
    QCOMPARE(f.Button().text(), Text("Processing, please wait"));
}

void tst_MiniViewDialogs::laterReportsOnlyMoveTheBar()
{
    TMiniViewFixture f;
    f.Hub().OnKelvoUserInboxSetupInProgress(14);
    TProgressDialog* const dialog = SetupDialog();
    dialog->SetMessage(Text("as it was"), true);
    f.Hub().OnKelvoUserInboxSetupInProgress(28);
    QCOMPARE(SetupDialog(), dialog);
    QCOMPARE(dialog->Progress(), 28);
    QCOMPARE(dialog->Message(), Text("as it was"));
}

void tst_MiniViewDialogs::aReportShowsAClosedDialogAgain()
{
    TMiniViewFixture f;
    f.Hub().OnKelvoUserInboxSetupInProgress(14);
    TProgressDialog* const dialog = SetupDialog();
    dialog->SetMessage(Text("old"), true);
    dialog->SetBottomMessage(Text("old"), true);
    dialog->CloseWindow();
    QVERIFY(!dialog->isVisible());
    f.Hub().OnKelvoUserInboxSetupInProgress(42);
    QCOMPARE(SetupDialog(), dialog);
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->Progress(), 42);
    QCOMPARE(dialog->Message(), Text("Configuring Kelvo Account"));
    QCOMPARE(dialog->BottomMessage(),
             Text("You will be automatically logged out of Kelvo once completed"));
}

void tst_MiniViewDialogs::theEndOfTheSetupLogsOut_data()
{
    QTest::addColumn<int>("errorCount");
    QTest::addColumn<QString>("message");
    QTest::newRow("no failure") << 0 << Text("Configuration complete");
    QTest::newRow("one failure") << 1 << Text("Configuration complete with errors");
    QTest::newRow("seven failures") << 7 << Text("Configuration complete with errors");
}

void tst_MiniViewDialogs::theEndOfTheSetupLogsOut()
{
    QFETCH(int, errorCount);
    QFETCH(QString, message);
    KelvoFileTransferErrorDetailsList errors;
    for (int i = 0; i < errorCount; ++i)
        errors << KelvoFileTransferErrorDetails{Text("inbox"), Text("why")};

    TMiniViewFixture f;
    f.Hub().OnLoggedIntoKelvo();
    f.Hub().OnKelvoUserInboxSetupInProgress(85);
    f.log.Clear();
    f.Hub().OnKelvoUserInboxSetupComplete(errors);
    QCOMPARE(f.log.Names(),
             (QStringList{Text("KelvoFileOperationComplete"), Text("KelvoUserInboxSetupComplete"),
                          Text("KelvoLogoutRequested")}));
    QCOMPARE(f.Status().GetValue(), Text("Logging out...."));
    QVERIFY(!f.Button().isEnabled());
    QCOMPARE(SetupDialog()->Progress(), 100);
    QCOMPARE(SetupDialog()->Message(), message);
    QVERIFY(SetupDialog()->isVisible()); // the operator closes it
    f.Hub().OnLoggedOutOfKelvo();
    QCOMPARE(f.Button().text(), Text("Login"));
}

void tst_MiniViewDialogs::anEndWithoutAReportLogsOut()
{
    TMiniViewFixture f;
    f.Hub().OnLoggedIntoKelvo();
    f.Hub().OnKelvoUserInboxSetupComplete({});
    QCOMPARE(f.log.Names().last(), Text("KelvoLogoutRequested"));
    QVERIFY(SetupDialog() == nullptr);
}

void tst_MiniViewDialogs::deletesItsDialogsWithItself()
{
    {
        TMiniViewFixture f;
        f.Hub().OnLoginToKelvoFailed(QString());
        f.Hub().OnKelvoUserInboxSetupInProgress(14);
        QVERIFY(ErrorDialog() && SetupDialog());
    }
    QVERIFY(!ErrorDialog() && !SetupDialog());
}

// The highlight is shifted from the row by the view's position in its parent.
void tst_MiniViewDialogs::highlightsTheStatusRow()
{
    for (const QPoint& offset : {QPoint(0, 0), QPoint(12, 7)}) {
        QWidget parent;
        parent.resize(800, 600);
        TMiniViewFixture f(&parent);
        f.view.setGeometry(QRect(offset, QSize(600, 400)));
        parent.show();
        const QImage without = OwnPainting(f.view);
        f.view.ChangeState(2);
        QTest::qWait(0); // the layout is updated
        const QImage with = OwnPainting(f.view);

        const QRect row(f.Status().pos() + offset, f.Status().size());
        const QRect filled = row.adjusted(3, 3, -3, -3);
        QVERIFY(filled.height() > 4);
        // The outline of a rectangle is one pixel further right and down.
        QCOMPARE(Difference(without, with), filled.adjusted(0, 0, 1, 1) & f.view.rect());
        const int base = qGray(without.pixel(filled.center()));
        const int expected = qRound(base * 0.9 + 255 * 0.1);
        QVERIFY(qAbs(qGray(with.pixel(filled.center())) - expected) <= 2);
        QVERIFY(qGray(with.pixel(filled.topLeft())) < qGray(with.pixel(filled.center())));
    }
}

void tst_MiniViewDialogs::paintsNothingWhileTheStatusRowIsHidden()
{
    TMiniViewFixture f;
    f.view.resize(600, 400);
    f.view.show();
    QWidget plain;
    plain.resize(600, 400);
    QVERIFY(!f.Status().isVisible());
    QVERIFY(Difference(OwnPainting(plain), OwnPainting(f.view)).isNull());
}

KELVO_WIDGET_TEST_MAIN(tst_MiniViewDialogs)
#include "tst_MiniViewDialogs.moc"
