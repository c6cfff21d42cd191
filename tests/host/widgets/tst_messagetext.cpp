// The content of a message dialog: long messages, allowed tags, a picture.
#include "TDialog.h"
#include "host/TWindow.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtWidgets/QScrollBar>
#include <QtWidgets/QScroller>

#include <memory>

namespace {

QString LongMessage()
{
    return QStringLiteral("Field.zip failed to upload.\nNo link.\n\n").repeated(40);
}

bool HasRing(TMessageText& text)
{
    const QImage image = text.grab().toImage();
    const QColor ring = hostimpl::ThemeColour(hostimpl::EColour::eFocus);
    return image.pixelColor(image.width() / 2, 1) == ring &&
           image.pixelColor(image.width() / 2, image.height() - 2) == ring;
}

// Records what a widget paints anew.
class TPaints : public QObject
{
public:
    explicit TPaints(QWidget& widget) { widget.installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            places.append(static_cast<QPaintEvent*>(event)->rect());
        }
        return QObject::eventFilter(watched, event);
    }

    QVector<QRect> places;
};

} // namespace

class tst_MessageText : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void longMessagesScroll();
    void theWheelScrollsLongMessages();
    void theFocusRingLiesBesideTheText();
    void theFocusRingGoesWithTheFocus();
    void aShortMessageGivesTheFocusBack();
    void growsWithItsMessage();
    void coversTheScreenIfFullScreen();
    void showsNoEmptyLinesAtTheEnd();
    void drawsSimpleRichText();
    void showsOtherTagsAsText_data();
    void showsOtherTagsAsText();
    void loadsNoResources();
    void drawsThePictureBesideTheText();
};

void tst_MessageText::longMessagesScroll()
{
    TWindow window;
    window.resize(800, 480);
    window.show();
    TMessageDialog dialog(&window, QStringLiteral("Title"), LongMessage(),
                          TMessageDialog::eOperation, false, QPixmap());
    dialog.ShowWindow(true);
    QVERIFY(dialog.height() <= 480);
    auto& text = *dialog.findChild<TMessageText*>();
    QVERIFY(text.verticalScrollBar()->maximum() > 0);
    QVERIFY(QScroller::hasScroller(text.viewport()));
    TPushButton* const button = dialog.GetMessageDialogButton(TMessageDialog::eButton0);
    QVERIFY(dialog.rect().contains(button->geometry()));
    QVERIFY(!text.geometry().intersects(button->geometry()));
}

void tst_MessageText::theWheelScrollsLongMessages()
{
    TDialog dialog(TMessageDialog::eAcknowledge);
    QCOMPARE(dialog.Text().focusPolicy(), Qt::NoFocus);
    dialog.dialog.SetMessage(LongMessage());
    QCOMPARE(dialog.Text().focusPolicy(), Qt::StrongFocus);
    dialog.dialog.OnWheelTurned(1);
    QCOMPARE(dialog.dialog.focusWidget(), &dialog.Text());
    QVERIFY(!dialog.Text().OnWheelTurned(-1));
    int steps = 0;
    while (dialog.Text().OnWheelTurned(1) && steps < 1000) {
        ++steps;
    }
    QVERIFY(steps > 1);
    QCOMPARE(dialog.Text().verticalScrollBar()->value(),
             dialog.Text().verticalScrollBar()->maximum());
}

void tst_MessageText::theFocusRingLiesBesideTheText()
{
    TDialog dialog(TMessageDialog::eAcknowledge);
    QVERIFY(QTest::qWaitForWindowActive(&dialog.dialog));
    dialog.dialog.SetMessage(LongMessage());
    QWidget& place = *dialog.Text().viewport();
    const QImage before = place.grab().toImage();
    dialog.Text().setFocus();
    QVERIFY(dialog.Text().hasFocus());
    QCOMPARE(place.grab().toImage(), before);
    QVERIFY(HasRing(dialog.Text()));
}

void tst_MessageText::theFocusRingGoesWithTheFocus()
{
    TDialog dialog(TMessageDialog::eAcknowledge);
    QVERIFY(QTest::qWaitForWindowActive(&dialog.dialog));
    dialog.dialog.SetMessage(LongMessage());
    dialog.Text().setFocus();
    QVERIFY(dialog.Text().hasFocus());
    QCoreApplication::processEvents();
    TPaints paints(dialog.Text());
    dialog.Button(0).setFocus();
    QCoreApplication::processEvents();
    QVERIFY(paints.places.contains(dialog.Text().rect()));
    QVERIFY(!HasRing(dialog.Text()));
}

void tst_MessageText::aShortMessageGivesTheFocusBack()
{
    TDialog dialog(TMessageDialog::eAcknowledge);
    QVERIFY(QTest::qWaitForWindowActive(&dialog.dialog));
    dialog.dialog.SetMessage(LongMessage());
    dialog.Text().setFocus();
    QVERIFY(dialog.Text().hasFocus());
    dialog.dialog.SetMessage(QStringLiteral("short"));
    QVERIFY(!HasRing(dialog.Text()));
    QCOMPARE(dialog.dialog.focusWidget(), &dialog.Button(0));
}

void tst_MessageText::growsWithItsMessage()
{
    TDialog dialog(TMessageDialog::eOperation);
    const int before = dialog.dialog.height();
    dialog.dialog.SetMessage(QStringLiteral("one\ntwo\nthree\nfour\nfive"));
    QVERIFY(dialog.dialog.height() > before);
    QCoreApplication::processEvents();
    QCOMPARE(dialog.Text().verticalScrollBar()->maximum(), 0);
}

void tst_MessageText::coversTheScreenIfFullScreen()
{
    TWindow window;
    window.setGeometry(50, 60, 700, 500);
    window.show();
    TMessageDialog dialog(&window, QString(), QString(), TMessageDialog::eAcknowledge, true,
                          QPixmap());
    dialog.ShowWindow(true);
    QCOMPARE(QRect(dialog.mapTo(&window, QPoint(0, 0)), dialog.size()), window.rect());
}

void tst_MessageText::showsNoEmptyLinesAtTheEnd()
{
    TDialog dialog(TMessageDialog::eOperation);
    dialog.dialog.SetMessage(QStringLiteral("a.zip\nNo link.\n\n"));
    QCOMPARE(dialog.Text().toPlainText(), QStringLiteral("a.zip\nNo link."));
    QCOMPARE(dialog.dialog.Message(), QStringLiteral("a.zip\nNo link.\n\n"));
}

void tst_MessageText::drawsSimpleRichText()
{
    TDialog dialog(TMessageDialog::eAcknowledge);
    dialog.dialog.SetMessage(QStringLiteral("one\n<b>two</b><br/>&amp;"));
    QCOMPARE(dialog.Text().toPlainText(), QStringLiteral("one\ntwo\n&"));
    QCOMPARE(dialog.dialog.Message(), QStringLiteral("one\n<b>two</b><br/>&amp;"));
    dialog.dialog.SetMessage(QStringLiteral("a < b & c > d\n<file>.zip"));
    QCOMPARE(dialog.Text().toPlainText(), QStringLiteral("a < b & c > d\n<file>.zip"));
}

void tst_MessageText::showsOtherTagsAsText_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("html");
    const auto row = [](const char* name, const char* message, const char* html) {
        QTest::newRow(name) << QString::fromLatin1(message) << QString::fromLatin1(html);
    };
    row("link", "<b>x</b><a href=\"http://x\">y</a>", "<b>x</b>&lt;a href=\"http://x\">y&lt;/a>");
    row("picture", "<b>x</b><img src=\"/etc/x.png\">", "<b>x</b>&lt;img src=\"/etc/x.png\">");
    row("attributes", "<p style=\"color:red\" onclick='x'>y</p>", "<p>y</p>");
    row("upper case", "<BR>x<Script>", "<BR>x&lt;Script>");
    row("nested", "<<b>b>x</b>", "&lt;<b>b>x</b>");
    row("unended", "<b>x</b><img src=x", "<b>x</b>&lt;img src=x");
    row("lines", "<i>x</i>\n\ny", "<i>x</i><br><br>y");
}

void tst_MessageText::showsOtherTagsAsText()
{
    QFETCH(QString, message);
    QFETCH(QString, html);
    bool isRich = false;
    QCOMPARE(SafeRichText(message, isRich), html);
    QVERIFY(isRich);
}

void tst_MessageText::loadsNoResources()
{
    TDialog dialog(TMessageDialog::eAcknowledge);
    QVERIFY(!dialog.Text().loadResource(QTextDocument::ImageResource, QUrl()).isValid());
    QCOMPARE(dialog.Text().textInteractionFlags(), Qt::NoTextInteraction);
}

void tst_MessageText::drawsThePictureBesideTheText()
{
    QPixmap picture(120, 90);
    picture.fill(Qt::red);
    TMessageDialog dialog(nullptr, QString(), QStringLiteral("x"), TMessageDialog::eAcknowledge,
                          false, picture);
    dialog.ShowWindow(true);
    QCoreApplication::processEvents();
    const QImage image = dialog.grab().toImage();
    int red = 0;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            red += image.pixelColor(x, y) == QColor(Qt::red) ? 1 : 0;
        }
    }
    QCOMPARE(red, 120 * 90);
}

KELVO_WIDGET_TEST_MAIN(tst_MessageText)
#include "tst_messagetext.moc"
