// Texts change their size while the window is open, and look as in a window that is made with this
// size.
#include "console/settings/TSettingsPage.h"
#include "console/window/THomePage.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TStatusBar.h"
#include "host/TListWidget.h"
#include "host/TMessageDialog.h"
#include "host/TPropertyWidget.h"
#include "hostimpl/Display.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/Theme.h"
#include "screens/TKelvoFullView.h"
#include "screens/TKelvoMiniView.h"
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include <QtTest/QtTest>

namespace {

void SetSize(const hostimpl::TDisplay& display, double factor)
{
    hostimpl::SetTextSize(display.PixelMillimetres() * display.scale, factor);
    hostimpl::SetTheme(hostimpl::ETheme::eDay);
}

// The console's window with its pages, and a dialog that is shown later.
class TPlace
{
public:
    explicit TPlace(const QSize& size) : m_mini(nullptr, m_around.levels), m_full(nullptr)
    {
        hostimpl::SetPopupHost(&m_window);
        m_mini.Setup();
        m_full.Setup();
        m_window.Dock().Add(&m_mini);
        m_window.AddPage(&m_full, m_full.SurfaceTitle());
        m_window.AddPage(&m_settings, QStringLiteral("Settings"));
        m_settings.Show({});
        m_settings.SetMessage(QStringLiteral("A message. ").repeated(6));
        m_dialog.SetupIfRequired();
        m_window.resize(size);
        m_window.show();
        m_around.Hub().OnLoggedIntoKelvo();
        const QString name = QStringLiteral("a name that is long ").repeated(12);
        m_around.Hub().OnNewKelvoProjectFilesList(0,
                                                  ListingOf({QStringLiteral("short.zip"), name}));
        m_window.Home().Show({});
    }
    ~TPlace()
    {
        m_window.Dock().Remove(&m_mini);
        m_window.RemovePage(&m_full);
        m_window.RemovePage(&m_settings);
        hostimpl::SetPopupHost(nullptr);
    }

    // A line for each visible widget of each page: its kind, its letters and its place.
    QStringList Looks()
    {
        QStringList looks = LooksNow(); // of the page on which the operator changed the size
        looks.clear();
        for (QWidget* const page : {static_cast<QWidget*>(nullptr), static_cast<QWidget*>(&m_full),
                                    static_cast<QWidget*>(&m_settings)}) {
            m_window.ShowPage(page);
            m_full.findChild<TListWidget*>()->setCurrentRow(1); // shows the long name in full
            looks += LooksNow();
        }
        m_dialog.ShowWindow(true);
        looks += LooksNow();
        m_dialog.CloseWindow();
        return looks;
    }

private:
    QStringList LooksNow()
    {
        for (int pass = 0; pass < 10; ++pass) { // a change of one layout may change another layout
            QCoreApplication::processEvents();
        }
        QStringList looks;
        for (const QWidget* const widget : m_window.findChildren<QWidget*>()) {
            if (widget->isVisible()) {
                const QRect place(widget->mapTo(&m_window, QPoint()), widget->size());
                looks << QStringLiteral("%1: %2 pixels, stretch %3, weight %4, %5,%6 %7x%8")
                             .arg(QLatin1String(widget->metaObject()->className()))
                             .arg(widget->font().pixelSize())
                             .arg(widget->font().stretch())
                             .arg(widget->font().weight())
                             .arg(place.x())
                             .arg(place.y())
                             .arg(place.width())
                             .arg(place.height());
            }
        }
        return looks;
    }

    THubFixture m_around;
    TKelvoMiniView m_mini;
    TKelvoFullView m_full;
    console::TSettingsPage m_settings;
    console::TMainWindow m_window;
    TMessageDialog m_dialog{nullptr,
                            QStringLiteral("File Transfer"),
                            QStringLiteral("A message. ").repeated(20),
                            TMessageDialog::eOperation,
                            false,
                            QPixmap()};
};

} // namespace

class tst_TextSize : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void looksAsInANewWindow_data();
    void looksAsInANewWindow();
    void keepsBoldAndNarrowLetters();
};

void tst_TextSize::looksAsInANewWindow_data()
{
    QTest::addColumn<int>("display");
    QTest::addColumn<double>("factor");
    for (int display = 0; display < 3; ++display) {
        QTest::addRow("%d larger", display) << display << 1.15;
        QTest::addRow("%d smaller", display) << display << 1.0;
    }
}

void tst_TextSize::looksAsInANewWindow()
{
    QFETCH(int, display);
    QFETCH(double, factor);
    const hostimpl::TDisplay& shown = hostimpl::DISPLAYS[display];
    SetSize(shown, factor);
    const QStringList expected = TPlace(shown.LayoutPixels()).Looks();
    SetSize(shown, factor > 1.0 ? 1.0 : 1.15);
    TPlace place(shown.LayoutPixels());
    const QStringList before = place.Looks();
    QVERIFY(before != expected);
    SetSize(shown, factor);
    const QStringList looks = place.Looks();
    for (int line = 0; line < qMin(looks.size(), expected.size()); ++line) {
        QCOMPARE(looks.at(line), expected.at(line)); // names the first difference
    }
    QCOMPARE(looks.size(), expected.size());
}

// Each change of the colours sets the size again.
void tst_TextSize::keepsBoldAndNarrowLetters()
{
    const hostimpl::TDisplay& shown = hostimpl::DISPLAYS[0];
    SetSize(shown, 1.0);
    TPlace place(shown.LayoutPixels());
    const QStringList before = place.Looks();
    SetSize(shown, 1.0);
    const QStringList after = place.Looks();
    for (int line = 0; line < qMin(before.size(), after.size()); ++line) {
        QCOMPARE(after.at(line), before.at(line)); // names the first difference
    }
    QCOMPARE(after.size(), before.size());
}

KELVO_WIDGET_TEST_MAIN(tst_TextSize)
#include "tst_TextSize.moc"
