// The theme: contrasts by day and by night, and the change of the theme at run time.
#include "hostimpl/Theme.h"

#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Display.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QSet>
#include <QtGui/QPainter>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

#include <algorithm>
#include <cmath>

using hostimpl::EColour;
using hostimpl::ETheme;

namespace {

double Linear(double part)
{
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour)
{
    return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) +
           0.0722 * Linear(colour.blueF());
}

double Contrast(const QColor& one, const QColor& other)
{
    const double lighter = std::max(Luminance(one), Luminance(other));
    const double darker = std::min(Luminance(one), Luminance(other));
    return (lighter + 0.05) / (darker + 0.05);
}

struct TPair
{
    const char* name;
    EColour front;
    EColour ground;
    double least;
};

// Of the visible area.
struct TDisplaySize
{
    QSize pixels;
    double widthMm;
};

constexpr double TEXT = 7.0;
constexpr double SHAPE = 3.0;

constexpr TPair PAIRS[] = {
    {"text on window", EColour::eText, EColour::eWindow, TEXT},
    {"text on panel", EColour::eText, EColour::ePanel, TEXT},
    {"text on a bar's filled part", EColour::eText, EColour::eSelected, TEXT},
    {"muted on window", EColour::eMutedText, EColour::eWindow, TEXT},
    {"muted on panel", EColour::eMutedText, EColour::ePanel, TEXT},
    {"off on window", EColour::eOffText, EColour::eWindow, TEXT},
    {"off on panel", EColour::eOffText, EColour::ePanel, TEXT},
    {"off on off", EColour::eOffText, EColour::eOff, TEXT},
    {"button", EColour::eButtonText, EColour::eButton, TEXT},
    {"button selected", EColour::eButtonSelectedText, EColour::eButtonSelected, TEXT},
    {"selected", EColour::eSelectedText, EColour::eSelected, TEXT},
    {"alert on window", EColour::eAlert, EColour::eWindow, TEXT},
    {"alert on panel", EColour::eAlert, EColour::ePanel, TEXT},
    {"good on window", EColour::eGood, EColour::eWindow, TEXT},
    {"good on panel", EColour::eGood, EColour::ePanel, TEXT},
    {"warning", EColour::eWarningText, EColour::eWarning, TEXT},
    {"ring on its edge", EColour::eFocus, EColour::eFocusEdge, SHAPE},
    {"border on window", EColour::eBorder, EColour::eWindow, SHAPE},
    {"border on panel", EColour::eBorder, EColour::ePanel, SHAPE},
};

} // namespace

class tst_Theme : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        hostimpl::SetTextSize(hostimpl::DISPLAYS[0].PixelMillimetres(), 1.0);
        hostimpl::SetTheme(ETheme::eDay);
    }
    void computesKnownContrasts();
    void textsHaveEnoughContrast_data();
    void textsHaveEnoughContrast();
    void theFocusRingIsSeenOnEachGround();
    void eachMeaningHasItsColour();
    void theNightHasNoBrightGround();
    void placeholdersAreReadable();
    void lettersAreLargeEnoughOnEachDisplay();
    void touchTargetsAreLargeEnoughOnEachDisplay();
    void largerTextsAreLarger();
    void textsAreLargeEnough();
    void narrowLettersStayReadable();
    void qtsWidgetsFollowTheTheme();
    void visibleWidgetsFollowTheTheme();
};

void tst_Theme::computesKnownContrasts()
{
    QCOMPARE(qRound(Contrast(Qt::white, Qt::black)), 21);
    QCOMPARE(qRound(Contrast(Qt::red, Qt::red)), 1);
    QVERIFY(Contrast(QColor(0x76, 0x76, 0x76), Qt::white) > 4.5);
    QVERIFY(Contrast(QColor(0x78, 0x78, 0x78), Qt::white) < 4.5);
}

void tst_Theme::textsHaveEnoughContrast_data()
{
    QTest::addColumn<int>("theme");
    QTest::addColumn<int>("front");
    QTest::addColumn<int>("ground");
    QTest::addColumn<double>("least");
    for (const auto theme : {ETheme::eDay, ETheme::eNight}) {
        for (const TPair& pair : PAIRS) {
            QTest::addRow("%s %s", pair.name, theme == ETheme::eDay ? "by day" : "by night")
                << static_cast<int>(theme) << static_cast<int>(pair.front)
                << static_cast<int>(pair.ground) << pair.least;
        }
    }
}

void tst_Theme::textsHaveEnoughContrast()
{
    QFETCH(int, theme);
    QFETCH(int, front);
    QFETCH(int, ground);
    QFETCH(double, least);
    const auto colour = [theme](int each) {
        return hostimpl::ThemeColour(static_cast<EColour>(each), static_cast<ETheme>(theme));
    };
    const double contrast = Contrast(colour(front), colour(ground));
    QVERIFY2(contrast >= least, qPrintable(QString::number(contrast)));
}

// The ring is drawn on the ground with an inner edge. The ring is seen if the ring or the edge has
// enough contrast.
void tst_Theme::theFocusRingIsSeenOnEachGround()
{
    for (const auto theme : {ETheme::eDay, ETheme::eNight}) {
        for (const EColour ground :
             {EColour::eWindow, EColour::ePanel, EColour::eOff, EColour::eButton,
              EColour::eButtonSelected, EColour::eSelected, EColour::eWarning}) {
            const QColor under = hostimpl::ThemeColour(ground, theme);
            const double ring = Contrast(hostimpl::ThemeColour(EColour::eFocus, theme), under);
            const double edge = Contrast(hostimpl::ThemeColour(EColour::eFocusEdge, theme), under);
            QVERIFY2(std::max(ring, edge) >= SHAPE,
                     qPrintable(QStringLiteral("%1: %2 %3").arg(int(ground)).arg(ring).arg(edge)));
        }
    }
    // The drawn ring has both colours.
    QImage image(100, 73, QImage::Format_ARGB32_Premultiplied);
    image.fill(hostimpl::ThemeColour(EColour::eButton));
    {
        QPainter painter(&image);
        hostimpl::DrawFocusRing(painter, image.rect());
    }
    const auto drawn = [&image](int y) { return image.pixelColor(50, y); };
    QCOMPARE(drawn(hostimpl::FOCUS_RING / 2), hostimpl::ThemeColour(EColour::eFocus));
    QCOMPARE(drawn(hostimpl::FOCUS_RING), hostimpl::ThemeColour(EColour::eFocusEdge));
}

void tst_Theme::eachMeaningHasItsColour()
{
    for (const auto theme : {ETheme::eDay, ETheme::eNight}) {
        QSet<QRgb> colours;
        const auto meanings = {EColour::eButton, EColour::eButtonSelected, EColour::eFocus,
                               EColour::eAlert,  EColour::eGood,           EColour::eWarning};
        for (const EColour meaning : meanings) {
            colours << hostimpl::ThemeColour(meaning, theme).rgb();
        }
        QCOMPARE(colours.size(), int(meanings.size()));
        const auto hue = [theme](EColour colour) {
            return hostimpl::ThemeColour(colour, theme).hsvHue();
        };
        QVERIFY(hue(EColour::eWarning) > 30 && hue(EColour::eWarning) < 60); // amber
        QVERIFY(hue(EColour::eFocus) > 200 && hue(EColour::eFocus) < 240);   // blue
        QVERIFY(hue(EColour::eGood) > 120 && hue(EColour::eGood) < 160);     // green
        QVERIFY(hue(EColour::eAlert) < 10);                                  // red
        QVERIFY(hue(EColour::eButtonSelected) > 120 && hue(EColour::eButtonSelected) < 160);
    }
}

// The ground of a whole band or page.
void tst_Theme::theNightHasNoBrightGround()
{
    for (const EColour ground : {EColour::eWindow, EColour::ePanel, EColour::eOff, EColour::eButton,
                                 EColour::eSelected, EColour::eWarning}) {
        QVERIFY(Luminance(hostimpl::ThemeColour(ground, ETheme::eNight)) < 0.1);
    }
}

void tst_Theme::placeholdersAreReadable()
{
    for (const auto theme : {ETheme::eNight, ETheme::eDay}) {
        hostimpl::SetTheme(theme);
        TPropertyWidget row(nullptr, -1);
        const QLineEdit edit;
        for (const QLineEdit* const each :
             std::initializer_list<const QLineEdit*>{&edit, row.findChild<QLineEdit*>()}) {
            const QColor text = each->palette().color(QPalette::PlaceholderText);
            QCOMPARE(text.alpha(), 255);
            QVERIFY(Contrast(text, hostimpl::ThemeColour(EColour::ePanel)) >= 4.5);
        }
    }
}

void tst_Theme::lettersAreLargeEnoughOnEachDisplay()
{
    constexpr double radiansPerMinute = 3.14159265 / 180 / 60;
    constexpr TDisplaySize sizes[] = {
        {{1280, 800}, 217.6}, {{800, 480}, 152.5}, {{1920, 1080}, 223.6}};
    for (const TDisplaySize& size : sizes) {
        const hostimpl::TDisplay& display = hostimpl::DisplayOf(size.pixels);
        const double pixelMm = size.widthMm / size.pixels.width() * display.scale;
        QVERIFY(std::abs(display.PixelMillimetres() * display.scale / pixelMm - 1) < 0.01);
        hostimpl::SetTextSize(display.PixelMillimetres() * display.scale, 1.0);
        const auto minutes = [pixelMm](hostimpl::EFont font) {
            const QRect capital =
                QFontMetrics(hostimpl::ThemeFont(font)).tightBoundingRect(QStringLiteral("H"));
            return capital.height() * pixelMm / 1000 / radiansPerMinute;
        };
        QVERIFY2(minutes(hostimpl::EFont::eBody) >= 16.0,
                 qPrintable(QString::number(minutes(hostimpl::EFont::eBody))));
        QVERIFY2(minutes(hostimpl::EFont::eCaption) >= 12.0,
                 qPrintable(QString::number(minutes(hostimpl::EFont::eCaption))));
        QVERIFY(minutes(hostimpl::EFont::eTitle) >= 16.0);
    }
}

void tst_Theme::touchTargetsAreLargeEnoughOnEachDisplay()
{
    for (const hostimpl::TDisplay& display : hostimpl::DISPLAYS) {
        const double pixelMm = display.PixelMillimetres() * display.scale;
        QVERIFY(hostimpl::TOUCH_SIZE * pixelMm >= 9.0);
        QVERIFY(hostimpl::SMALL_TOUCH_SIZE * pixelMm >= 9.0);
    }
}

void tst_Theme::largerTextsAreLarger()
{
    const int usual = hostimpl::ThemeFont(hostimpl::EFont::eBody).pixelSize();
    const double pixelMm = hostimpl::DISPLAYS[0].PixelMillimetres();
    hostimpl::SetTextSize(pixelMm, 1.15);
    QVERIFY(hostimpl::ThemeFont(hostimpl::EFont::eBody).pixelSize() > usual);
    hostimpl::SetTextSize(pixelMm, 1.0);
    QCOMPARE(hostimpl::ThemeFont(hostimpl::EFont::eBody).pixelSize(), usual);
}

void tst_Theme::textsAreLargeEnough()
{
    const int caption = hostimpl::ThemeFont(hostimpl::EFont::eCaption).pixelSize();
    QCOMPARE(hostimpl::ThemeFont(caption + 1).pixelSize(), caption + 1);
    QCOMPARE(hostimpl::ThemeFont(8).pixelSize(), caption);
    QCOMPARE(hostimpl::ThemeFont(hostimpl::EFont::eBody).family(), QStringLiteral("DejaVu Sans"));
    QCOMPARE(QFontInfo(hostimpl::ThemeFont(hostimpl::EFont::eBody)).family(),
             QStringLiteral("DejaVu Sans"));
}

void tst_Theme::narrowLettersStayReadable()
{
    const QFont usual = hostimpl::ThemeFont(hostimpl::EFont::eCaption);
    const QFont least = hostimpl::NarrowFont(usual, [](const QFont&) { return false; });
    QCOMPARE(least.pixelSize(), usual.pixelSize());
    QVERIFY2(4 * least.stretch() >= 3 * usual.stretch(), QByteArray::number(least.stretch()));
    QCOMPARE(hostimpl::NarrowFont(usual, [](const QFont&) { return true; }), usual);
    const QFont middle = hostimpl::NarrowFont(
        usual, [&usual](const QFont& font) { return font.stretch() < usual.stretch(); });
    QVERIFY(middle.stretch() > least.stretch());
}

void tst_Theme::qtsWidgetsFollowTheTheme()
{
    QLineEdit edit;
    QLabel label;
    for (const auto theme : {ETheme::eNight, ETheme::eDay}) {
        hostimpl::SetTheme(theme);
        QCOMPARE(hostimpl::CurrentTheme(), theme);
        QCOMPARE(edit.palette().color(QPalette::Base),
                 hostimpl::ThemeColour(EColour::ePanel, theme));
        QCOMPARE(edit.palette().color(QPalette::Text),
                 hostimpl::ThemeColour(EColour::eText, theme));
        QCOMPARE(label.palette().color(QPalette::Disabled, QPalette::WindowText),
                 hostimpl::ThemeColour(EColour::eOffText, theme));
        QCOMPARE(label.font(), hostimpl::ThemeFont(hostimpl::EFont::eBody));
    }
}

void tst_Theme::visibleWidgetsFollowTheTheme()
{
    TPushButton button(nullptr, QString(), QStringLiteral("NewStandardButton"),
                       QStringLiteral("NewStandardButtonSelected"), 0, QString());
    button.setFocusPolicy(Qt::NoFocus);
    button.show();
    const QPoint middle(36, 36);
    QCOMPARE(button.grab().toImage().pixelColor(middle), hostimpl::ThemeColour(EColour::eButton));
    hostimpl::SetTheme(ETheme::eNight);
    QCOMPARE(button.grab().toImage().pixelColor(middle),
             hostimpl::ThemeColour(EColour::eButton, ETheme::eNight));
}

KELVO_WIDGET_TEST_MAIN(tst_Theme)
#include "tst_theme.moc"
