// The theme: contrasts by day and by night, and the change of the theme at run time.
#include "hostimpl/Theme.h"

#include "host/TPushButton.h"
#include "support/WidgetTestMain.h"
#include "theme/IconDrawing.h"

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
    {"ring on window", EColour::eFocus, EColour::eWindow, SHAPE},
    {"ring on panel", EColour::eFocus, EColour::ePanel, SHAPE},
    {"ring on button selected", EColour::eFocus, EColour::eButtonSelected, SHAPE},
    {"ring on selected", EColour::eFocus, EColour::eSelected, SHAPE},
    {"border on window", EColour::eBorder, EColour::eWindow, SHAPE},
    {"border on panel", EColour::eBorder, EColour::ePanel, SHAPE},
};

QImage Drawn(const QIcon& icon)
{
    QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(hostimpl::ThemeColour(EColour::ePanel));
    QPainter painter(&image);
    icon.paint(&painter, image.rect());
    return image;
}

QImage DrawnGround(const QString& name)
{
    QImage image(200, 73, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    hostimpl::DrawBackground(painter, image.rect(), name);
    return image;
}

} // namespace

class tst_Theme : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() { hostimpl::SetTheme(ETheme::eDay); }
    void computesKnownContrasts();
    void textsHaveEnoughContrast_data();
    void textsHaveEnoughContrast();
    void textsAreLargeEnough();
    void qtsWidgetsFollowTheTheme();
    void visibleWidgetsFollowTheTheme();
    void iconsDiffer();
    void unknownIconIsNeutral();
    void iconsFollowTheTheme();
    void drawingsEndAtAnInvalidWord();
    void drawsBackgroundsByName();
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

void tst_Theme::textsAreLargeEnough()
{
    QVERIFY(hostimpl::ThemeFont(hostimpl::EFont::eCaption).pixelSize() >= 20);
    QVERIFY(hostimpl::ThemeFont(hostimpl::EFont::eBody).pixelSize() >= 24);
    QVERIFY(hostimpl::ThemeFont(hostimpl::EFont::eTitle).pixelSize() >= 24);
    QCOMPARE(hostimpl::ThemeFont(30).pixelSize(), 30);
    QCOMPARE(hostimpl::ThemeFont(8).pixelSize(), 20);
    QCOMPARE(hostimpl::ThemeFont(hostimpl::EFont::eBody).family(), QStringLiteral("DejaVu Sans"));
    QCOMPARE(QFontInfo(hostimpl::ThemeFont(hostimpl::EFont::eBody)).family(),
             QStringLiteral("DejaVu Sans"));
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
        QCOMPARE(label.font().pixelSize(), 26);
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

void tst_Theme::iconsDiffer()
{
    QVector<QImage> seen;
    seen.append(Drawn(QIcon()));
    seen.append(Drawn(hostimpl::ThemeIcon(QStringLiteral("no such icon"))));
    const QStringList names = hostimpl::ThemeIconNames();
    for (const char* const needed :
         {"NavKelvo", "Select", "save", "settings", "gps-fix", "gps-lost", "link-up", "link-down",
          "sun", "moon", "keyboard", "back", "home"}) {
        QVERIFY2(names.contains(QString::fromLatin1(needed)), needed);
    }
    for (const QString& name : names) {
        const QImage image = Drawn(hostimpl::ThemeIcon(name));
        QVERIFY2(!seen.contains(image), qPrintable(name));
        seen.append(image);
    }
}

void tst_Theme::unknownIconIsNeutral()
{
    QVERIFY(hostimpl::ThemeIcon(QString()).isNull());
    const QImage one = Drawn(hostimpl::ThemeIcon(QStringLiteral("unknown")));
    QCOMPARE(one, Drawn(hostimpl::ThemeIcon(QStringLiteral("another"))));
    QVERIFY(one != Drawn(QIcon()));
}

void tst_Theme::iconsFollowTheTheme()
{
    const QIcon icon = hostimpl::ThemeIcon(QStringLiteral("home"));
    const auto has = [&icon](EColour colour) {
        const QImage image = icon.pixmap(64, 64).toImage();
        const QColor wanted = hostimpl::ThemeColour(colour);
        for (int place = 0; place < 64 * 64; ++place) {
            if (image.pixelColor(place % 64, place / 64) == wanted) {
                return true;
            }
        }
        return false;
    };
    QVERIFY(has(EColour::eText));
    QVERIFY(!has(EColour::ePanel));
    hostimpl::SetTheme(ETheme::eNight);
    QVERIFY(has(EColour::eText));
}

void tst_Theme::drawingsEndAtAnInvalidWord()
{
    const QString line = QStringLiteral("M 1 2 L 3 4");
    QCOMPARE(hostimpl::ParseDrawing(line).elementCount(), 2);
    QCOMPARE(hostimpl::ParseDrawing(line).boundingRect(), QRectF(1, 2, 2, 2));
    QCOMPARE(hostimpl::ParseDrawing(line + QStringLiteral(" X 5 5 L 9 9")).elementCount(), 2);
    QCOMPARE(hostimpl::ParseDrawing(line + QStringLiteral(" L 9")).elementCount(), 2);
    QCOMPARE(hostimpl::ParseDrawing(QStringLiteral("O 12 12 3")).boundingRect(),
             QRectF(9, 9, 6, 6));
    QVERIFY(hostimpl::ParseDrawing(QString()).isEmpty());
}

void tst_Theme::drawsBackgroundsByName()
{
    const QImage standard = DrawnGround(QStringLiteral("NewStandardButton"));
    const QImage selected = DrawnGround(QStringLiteral("NewStandardButtonSelected"));
    const QImage disabled = DrawnGround(QStringLiteral("NewDisabledButton"));
    QVERIFY(standard != selected);
    QVERIFY(standard != disabled);
    QVERIFY(selected != disabled);
    QCOMPARE(DrawnGround(QStringLiteral("no such ground")), standard);
    QCOMPARE(hostimpl::BackgroundTextColour(QStringLiteral("NewDisabledButton")),
             hostimpl::ThemeColour(EColour::eOffText));
}

KELVO_WIDGET_TEST_MAIN(tst_Theme)
#include "tst_theme.moc"
