// Popup windows: place, modality, order of deletion. Progress dialogs.
#include "host/TMessageDialog.h"
#include "host/TProgressDialog.h"
#include "host/TPushButton.h"
#include "host/TWindow.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"
#include "widgets/TOutcomeSign.h"
#include "widgets/TProgressBar.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QLabel>

#include <memory>

namespace {

// A part of a screen with dialogs as members. The dialogs' parent is the part's parent.
class TPart : public TWindow
{
public:
    explicit TPart(QWidget* parent)
        : TWindow(parent),
          m_message(parent, QString(), QStringLiteral("text"), TMessageDialog::eOperation, false,
                    QPixmap()),
          m_progress(parent, QString(), TProgressDialog::ePercentage, true)
    {}

    void ShowAll()
    {
        m_message.ShowWindow(true);
        m_progress.ShowWindow(false);
    }

private:
    TMessageDialog m_message;
    TProgressDialog m_progress;
};

// A part that is the parent of its dialog.
class TOwnParent : public TWindow
{
public:
    TOwnParent()
        : m_message(this, QString(), QString(), TMessageDialog::eQuestion, false, QPixmap())
    {
        m_message.ShowWindow(true);
    }

private:
    TMessageDialog m_message;
};

// Where a popup is in the window that holds it.
QRect PlaceIn(const QWidget& window, const QWidget& popup)
{
    return {popup.mapTo(&window, QPoint(0, 0)), popup.size()};
}

std::unique_ptr<TWindow> NewWindow(const QRect& place)
{
    auto window = std::make_unique<TWindow>();
    window->setGeometry(place);
    window->show();
    return window;
}

} // namespace

class tst_Popups : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void cleanup()
    {
        hostimpl::SetPopupHost(nullptr);
        TTestCase::cleanup();
    }
    void showsAndClosesOnce();
    void aPopupIsModalOnRequest();
    void aPopupIsAWindowOfItsOwnIfNoWindowIsShown();
    void aPopupLiesOverItsParentsWindow();
    void aPopupLiesOverThePopupHost();
    void aPopupLiesOverThePopupHostIfItsParentIsHidden();
    void aPopupDoesNotCoverTheBottomBar();
    void thePopupHostMayBeDeleted();
    void aPopupIsNotShownInsideAnother();
    void followsTheWindowBelow();
    void staysWithinTheWindowBelow();
    void theParentMayBeDeletedFirst();
    void theMemberMayBeDeletedFirst();
    void theParentMayBeDeletedWhilePopupsAreShown();
    void aPartMayBeTheParentOfItsDialog();
    void theWheelWrapsAround();
    void showsTheProgress();
    void showsTheOutcomeOfTheProgress();
    void keepsTheProgressBetween0And100();
    void hidesProgressTexts();
    void theOperatorClosesTheProgress();
    void progressWithoutAButtonStaysOpenUnlessItLocksTheScreen();
    void wrapsProgressTexts();
};

void tst_Popups::showsAndClosesOnce()
{
    TPopupWindow popup;
    const QSignalSpy closed(&popup, &TPopupWindow::Closed);
    popup.CloseWindow();
    QCOMPARE(closed.count(), 0);
    popup.ShowWindow(true);
    popup.ShowWindow(true);
    QVERIFY(popup.isVisible());
    popup.CloseWindow();
    popup.CloseWindow();
    QVERIFY(!popup.isVisible());
    QCOMPARE(closed.count(), 1);
    popup.ShowWindow(true);
    QVERIFY(popup.OnBackPressed());
    QCOMPARE(closed.count(), 2);
}

void tst_Popups::aPopupIsModalOnRequest()
{
    TPopupWindow popup;
    popup.ShowWindow(true);
    QCOMPARE(popup.windowModality(), Qt::ApplicationModal);
    popup.CloseWindow();
    popup.ShowWindow(false);
    QCOMPARE(popup.windowModality(), Qt::NonModal);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void tst_Popups::aPopupIsAWindowOfItsOwnIfNoWindowIsShown()
{
    TWindow window;
    window.setEnabled(false);
    TPopupWindow popup(&window);
    popup.ShowWindow(true);
    QVERIFY(popup.isWindow());
    QVERIFY(popup.isEnabled());
    QVERIFY(popup.windowFlags() & Qt::FramelessWindowHint);
    QCOMPARE(popup.parentWidget(), &window);
    QVERIFY(!popup.testAttribute(Qt::WA_DeleteOnClose));
}

void tst_Popups::aPopupLiesOverItsParentsWindow()
{
    const auto window = NewWindow(QRect(30, 40, 700, 500));
    const auto other = NewWindow(QRect(0, 0, 300, 300));
    hostimpl::SetPopupHost(other.get());
    QWidget inner(window.get());
    TMessageDialog dialog(&inner, QString(), QString(), TMessageDialog::eAcknowledge, false,
                          QPixmap());
    dialog.ShowWindow(true);
    QCOMPARE(dialog.window(), window.get());
    QCOMPARE(PlaceIn(*window, dialog).center(), window->rect().center());
}

void tst_Popups::aPopupLiesOverThePopupHost()
{
    const auto window = NewWindow(QRect(30, 40, 700, 500));
    hostimpl::SetPopupHost(window.get());
    QCOMPARE(hostimpl::PopupHost(), window.get());
    TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                          QPixmap());
    dialog.ShowWindow(true);
    QCOMPARE(PlaceIn(*window, dialog).center(), window->rect().center());
}

void tst_Popups::aPopupLiesOverThePopupHostIfItsParentIsHidden()
{
    const auto window = NewWindow(QRect(30, 40, 700, 500));
    hostimpl::SetPopupHost(window.get());
    TWindow hidden;
    hidden.setGeometry(0, 0, 200, 200);
    TMessageDialog dialog(&hidden, QString(), QString(), TMessageDialog::eAcknowledge, false,
                          QPixmap());
    dialog.ShowWindow(true);
    QCOMPARE(PlaceIn(*window, dialog).center(), window->rect().center());
}

void tst_Popups::aPopupDoesNotCoverTheBottomBar()
{
    const auto window = NewWindow(QRect(0, 0, 800, 480));
    QWidget bar(window.get());
    hostimpl::SetPopupHost(window.get(), &bar);
    TMessageDialog dialog(nullptr, QString(),
                          QStringLiteral("text\n").repeated(3) + QLatin1Char('.'),
                          TMessageDialog::eAcknowledge, false, QPixmap());
    bar.setGeometry(0, 410, 800, 70);
    dialog.ShowWindow(true);
    const QRect place = PlaceIn(*window, dialog);
    // In the middle it would cover the bar.
    QVERIFY2(place.height() > 340 && place.height() <= 410,
             qPrintable(QString::number(place.height())));
    QVERIFY(!place.intersects(bar.geometry()));
    QVERIFY(window->rect().contains(place));
    dialog.CloseWindow();
    bar.setGeometry(0, 300, 800, 180); // no room
    dialog.ShowWindow(true);
    QCOMPARE(PlaceIn(*window, dialog).center(), window->rect().center());
}

void tst_Popups::thePopupHostMayBeDeleted()
{
    auto window = NewWindow(QRect(30, 40, 700, 500));
    hostimpl::SetPopupHost(window.get());
    TPopupWindow popup;
    popup.ShowWindow(true);
    window.reset();
    QVERIFY(hostimpl::PopupHost() == nullptr);
    popup.CloseWindow();
    popup.ShowWindow(true);
    QVERIFY(popup.isVisible());
}

// The first popup is the active window when the second popup is shown.
void tst_Popups::aPopupIsNotShownInsideAnother()
{
    TMessageDialog first(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                         QPixmap());
    first.ShowWindow(false);
    QVERIFY(QTest::qWaitForWindowActive(&first));
    TProgressDialog second(nullptr, QString(), TProgressDialog::ePercentage, true);
    second.ShowWindow(false);
    QVERIFY(second.isWindow());
}

void tst_Popups::followsTheWindowBelow()
{
    const auto window = NewWindow(QRect(30, 40, 1200, 700));
    TMessageDialog dialog(window.get(), QString(), QString(), TMessageDialog::eAcknowledge, false,
                          QPixmap());
    dialog.ShowWindow(true);
    window->setGeometry(100, 100, 1000, 600);
    QCOMPARE(PlaceIn(*window, dialog).center(), window->rect().center());
}

void tst_Popups::staysWithinTheWindowBelow()
{
    const auto window = NewWindow(QRect(0, 0, 500, 400));
    TProgressDialog dialog(window.get(), QStringLiteral("Title"), TProgressDialog::ePercentage,
                           true);
    dialog.SetMessage(QStringLiteral("text "), true);
    dialog.ShowWindow(true);
    QVERIFY(window->rect().contains(PlaceIn(*window, dialog)));
}

void tst_Popups::theParentMayBeDeletedFirst()
{
    auto parent = std::make_unique<QWidget>();
    const QPointer<TPart> part = new TPart(parent.get());
    QCOMPARE(parent->findChildren<TPopupWindow*>(QString(), Qt::FindDirectChildrenOnly).size(), 2);
    parent.reset();
    QVERIFY(part.isNull());
}

void tst_Popups::theMemberMayBeDeletedFirst()
{
    QWidget parent;
    auto* const part = new TPart(&parent);
    part->ShowAll();
    delete part;
    QVERIFY(parent.children().isEmpty());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void tst_Popups::theParentMayBeDeletedWhilePopupsAreShown()
{
    auto window = NewWindow(QRect(0, 0, 800, 480));
    auto* const part = new TPart(window.get());
    part->show();
    part->ShowAll();
    window.reset();
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void tst_Popups::aPartMayBeTheParentOfItsDialog()
{
    auto owner = std::make_unique<TOwnParent>();
    owner->show();
    owner.reset();
    QVERIFY(QApplication::activeModalWidget() == nullptr);
}

void tst_Popups::theWheelWrapsAround()
{
    TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eQuestion, false,
                          QPixmap());
    dialog.ShowWindow(true);
    QWidget* const first = dialog.focusWidget();
    QVERIFY(dialog.OnWheelTurned(1));
    QVERIFY(dialog.focusWidget() != first);
    QVERIFY(dialog.OnWheelTurned(1));
    QCOMPARE(dialog.focusWidget(), first);
}

void tst_Popups::showsTheProgress()
{
    TProgressDialog dialog(nullptr, QStringLiteral("Title"), TProgressDialog::ePercentage, true);
    dialog.SetMessage(QStringLiteral("above"), true);
    dialog.SetBottomMessage(QStringLiteral("below"), true);
    dialog.ShowWindow(false);
    QCOMPARE(dialog.Title(), QStringLiteral("Title"));
    QCOMPARE(dialog.Message(), QStringLiteral("above"));
    QCOMPARE(dialog.BottomMessage(), QStringLiteral("below"));
    auto& bar = *dialog.findChild<TProgressBar*>();
    const auto filled = [&bar] {
        const QImage image = bar.grab().toImage();
        int count = 0;
        for (int x = 0; x < image.width(); ++x) {
            count += image.pixelColor(x, 4) == hostimpl::ThemeColour(hostimpl::EColour::eSelected);
        }
        return count;
    };
    QCOMPARE(filled(), 0);
    dialog.SetProgress(50);
    QVERIFY(std::abs(filled() - bar.width() / 2) <= 4);
    dialog.SetProgress(100);
    QVERIFY(std::abs(filled() - bar.width()) <= 6);
}

void tst_Popups::showsTheOutcomeOfTheProgress()
{
    TProgressDialog dialog(nullptr, QString(), TProgressDialog::ePercentage, true);
    dialog.SetMessage(QStringLiteral("text"), true);
    dialog.ShowWindow(false);
    const auto* const sign = dialog.findChild<TOutcomeSign*>();
    hostimpl::SetOutcome(hostimpl::EOutcomeOf::eSetUp, hostimpl::EOutcome::eGood);
    dialog.SetProgress(99);
    QVERIFY(!sign->isVisible());
    const QSize before = dialog.size();
    dialog.SetProgress(100);
    QVERIFY(sign->isVisible());
    QCOMPARE(dialog.size(), before);
    // A dialog that is made later is no part of the operation.
    const int windows = QApplication::topLevelWidgets().size();
    const TProgressDialog later(nullptr, QString(), TProgressDialog::ePercentage, true);
    QVERIFY(later.findChild<TOutcomeSign*>()->isHidden());
    QCOMPARE(QApplication::topLevelWidgets().size(), windows + 1);
    hostimpl::SetOutcome(hostimpl::EOutcomeOf::eSetUp, hostimpl::EOutcome::eNone);
    QVERIFY(!sign->isVisible());
}

void tst_Popups::keepsTheProgressBetween0And100()
{
    TProgressDialog dialog(nullptr, QString(), TProgressDialog::ePercentage, true);
    QCOMPARE(dialog.Progress(), 0);
    dialog.SetProgress(120);
    QCOMPARE(dialog.Progress(), 100);
    dialog.SetProgress(-3);
    QCOMPARE(dialog.Progress(), 0);
}

void tst_Popups::hidesProgressTexts()
{
    TProgressDialog dialog(nullptr, QString(), TProgressDialog::ePercentage, true);
    dialog.SetMessage(QStringLiteral("above"), false);
    dialog.SetBottomMessage(QStringLiteral("below"), true);
    dialog.ShowWindow(false);
    QStringList shown;
    for (const QLabel* const label : dialog.findChildren<QLabel*>()) {
        if (label->isVisible() && !label->text().isEmpty()) {
            shown.append(label->text());
        }
    }
    QCOMPARE(shown, QStringList(QStringLiteral("below")));
    QCOMPARE(dialog.Message(), QStringLiteral("above"));
}

void tst_Popups::theOperatorClosesTheProgress()
{
    TProgressDialog dialog(nullptr, QString(), TProgressDialog::ePercentage, true);
    dialog.ShowWindow(false);
    auto& button = *dialog.findChild<TPushButton*>();
    QCOMPARE(dialog.focusWidget(), &button);
    QVERIFY(button.width() >= hostimpl::TOUCH_SIZE && button.height() >= hostimpl::TOUCH_SIZE);
    QTest::mouseClick(&button, Qt::LeftButton);
    QVERIFY(!dialog.isVisible());
    dialog.SetProgress(30);
    QVERIFY(!dialog.isVisible());
    dialog.ShowWindow(false);
    QVERIFY(dialog.OnBackPressed());
    QVERIFY(!dialog.isVisible());
}

void tst_Popups::progressWithoutAButtonStaysOpenUnlessItLocksTheScreen()
{
    const auto window = NewWindow(QRect(0, 0, 800, 480));
    TProgressDialog dialog(window.get(), QString(), TProgressDialog::ePercentage, false);
    QVERIFY(dialog.findChild<TPushButton*>() == nullptr);
    dialog.ShowWindow(false);
    QVERIFY(dialog.OnBackPressed());
    QVERIFY(dialog.isVisible());
    dialog.CloseWindow();
    QVERIFY(!dialog.isVisible());
    dialog.ShowWindow(true);
    QVERIFY(dialog.OnBackPressed());
    QVERIFY(!dialog.isVisible());
}

void tst_Popups::wrapsProgressTexts()
{
    TProgressDialog dialog(nullptr, QString(), TProgressDialog::ePercentage, true);
    dialog.SetBottomMessage(QStringLiteral("many words and more of them ").repeated(6), true);
    dialog.ShowWindow(false);
    QCoreApplication::processEvents();
    for (const QLabel* const label : dialog.findChildren<QLabel*>()) {
        if (label->isVisible()) {
            QVERIFY(label->height() >= label->heightForWidth(label->width()));
        }
    }
    // A longer text during the display.
    const int before = dialog.height();
    dialog.SetMessage(QStringLiteral("many words and more of them ").repeated(6), true);
    QVERIFY(dialog.height() > before);
}

KELVO_WIDGET_TEST_MAIN(tst_Popups)
#include "tst_popups.moc"
