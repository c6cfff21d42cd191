// What the theme draws: the icons and the grounds of buttons.
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"
#include "theme/IconDrawing.h"

#include <QtGui/QPainter>

using hostimpl::EColour;

namespace {

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

class tst_ThemeDrawings : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void iconsDiffer();
    void unknownIconIsNeutral();
    void iconsFollowTheTheme();
    void drawingsEndAtAnInvalidWord();
    void drawsBackgroundsByName();
};

void tst_ThemeDrawings::iconsDiffer()
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

void tst_ThemeDrawings::unknownIconIsNeutral()
{
    QVERIFY(hostimpl::ThemeIcon(QString()).isNull());
    const QImage one = Drawn(hostimpl::ThemeIcon(QStringLiteral("unknown")));
    QCOMPARE(one, Drawn(hostimpl::ThemeIcon(QStringLiteral("another"))));
    QVERIFY(one != Drawn(QIcon()));
}

void tst_ThemeDrawings::iconsFollowTheTheme()
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
    hostimpl::SetTheme(hostimpl::ETheme::eNight);
    QVERIFY(has(EColour::eText));
}

void tst_ThemeDrawings::drawingsEndAtAnInvalidWord()
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

void tst_ThemeDrawings::drawsBackgroundsByName()
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

KELVO_WIDGET_TEST_MAIN(tst_ThemeDrawings)
#include "tst_themedrawings.moc"
