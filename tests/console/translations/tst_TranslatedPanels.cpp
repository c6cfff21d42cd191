// The plug-in's panels in the console's window, in each language, on each display and with each
// text size. No text is cut off or elided, and no button is small.
#include "console/translations/ScreenFaults.h"
#include "console/translations/TInLanguage.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "host/TMessageDialog.h"
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include "hostimpl/Theme.h"
#include "screens/TKelvoFullView.h"
#include "screens/TKelvoMiniView.h"

#include <QtCore/QTranslator>
#include <QtTest/QtTest>

class tst_TranslatedPanels : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void showsThePanelsInFull_data() { AddLanguagesAndTextSizes(); }
    void showsThePanelsInFull();
};

void tst_TranslatedPanels::showsThePanelsInFull()
{
    QFETCH(QString, code);
    QFETCH(QSize, pixels);
    QFETCH(double, textFactor);
    const QSize size = SetDisplay(pixels, textFactor);
    const TInLanguage inLanguage(code);
    auto* const translator = new QTranslator(QCoreApplication::instance());
    QVERIFY(code.isEmpty() ||
            (translator->load(QStringLiteral(KELVO_TRANSLATIONS_FOLDER "/kelvo_%1.qm").arg(code)) &&
             QCoreApplication::installTranslator(translator)));
    THubFixture around;
    console::TMainWindow window;
    TKelvoMiniView mini(nullptr, around.levels);
    TKelvoFullView full(nullptr);
    mini.Setup();
    full.Setup();
    window.resize(size);
    window.show();
    window.Dock().Add(&mini);
    window.AddPage(&full, full.SurfaceTitle());
    const auto isInFull = [&](QWidget* page) {
        window.ShowPage(page);
        const QString faults = Faults(window);
        if (!faults.isEmpty()) {
            qInfo("%s", qUtf8Printable(faults));
        }
        return faults.isEmpty();
    };
    // On a low display the window has no place for the login panel beside a page.
    for (QWidget* const page : {static_cast<QWidget*>(nullptr), static_cast<QWidget*>(&full)}) {
        around.Hub().OnLoggedOutOfKelvo();
        QVERIFY(isInFull(page));
        around.Hub().OnLoggingIntoKelvo();
        QVERIFY(isInFull(page));
        around.Hub().OnLoggedIntoKelvo();
        QVERIFY(isInFull(page));
    }
    QStringList names;
    for (int number = 0; number < 99; ++number) {
        names << QString::number(number);
    }
    around.Hub().OnNewKelvoProjectFilesList(0, ListingOf(names));
    const auto rows = full.findChildren<TPropertyWidget*>();
    for (TPropertyWidget* const row : rows) {
        row->SetNumericalValue(0); // the prescription maps on the service
    }
    auto* const list = full.findChild<TListWidget*>();
    list->selectAll();
    QVERIFY(isInFull(&full));
    QTest::keyClick(list, Qt::Key_9);
    list->setFocus();
    QVERIFY2(list->item(0)->isHidden(), "a search hides selected names");
    QVERIFY(isInFull(&full));
    window.Dock().Remove(&mini);
    window.RemovePage(&full);
}

KELVO_WIDGET_TEST_MAIN(tst_TranslatedPanels)
#include "tst_TranslatedPanels.moc"
