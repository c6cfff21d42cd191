// Both screens under thousands of random presses and reports. Nothing crashes. Of the files on disk
// only those are deleted that were selected at a confirmed deletion.
#include "support/WidgetTestMain.h"
#include "tests/core/HubEvents.h"
#include "tests/screens/TControllerFixture.h"

#include "screens/TKelvoMiniView.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtTest/QtTest>

#include <algorithm>
#include <iterator>
#include <random>

namespace {

constexpr int STEPS = 2000;

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

QString TitleOf(const QWidget& window)
{
    if (const auto* const message = qobject_cast<const TMessageDialog*>(&window))
        return message->Title();
    if (const auto* const progress = qobject_cast<const TProgressDialog*>(&window))
        return progress->Title();
    return QString::fromLatin1(window.metaObject()->className());
}

class TMonkey
{
public:
    explicit TMonkey(unsigned seed) : m_miniView(nullptr, f.levels), m_random(seed)
    {
        f.Configure(Text("olga"), Text("secret"));
        f.SetUp(false);
        f.Show();
        m_miniView.show();
    }

    // The files that were deleted without a confirmation. Empty if all is right.
    QStringList Step();

    TControllerFixture f;
    int confirmations = 0;  // with the question open
    int localDeletions = 0; // deleted files
    int listingsWhileAsked = 0;

private:
    int Number(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }
    bool Chance(int percent) { return Number(100) < percent; }
    QString Name() { return Text("n%1").arg(Number(12)) + (Chance(80) ? Text(".zip") : QString()); }

    void ChooseSomething();
    void SelectSomething();
    void PressAButton();
    static QList<TPushButton*> ButtonsInDialogs();
    void PressInADialog();
    void LetTheHubReport();
    void LetTheListingCome();
    void PutAFileSomewhere();
    void TurnAWheel();
    void WorkTheMiniView();
    void HideOrShow();

    QSet<QString> Files() const;
    QStringList NamedForDeletion() const;

    TKelvoMiniView m_miniView;
    std::mt19937 m_random;
    QSet<QString> m_files; // after the previous step
    QStringList m_mayGo;
};

QSet<QString> TMonkey::Files() const
{
    QSet<QString> files;
    QDirIterator it(f.folder.Path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!path.contains(Text("console.json")))
            files.insert(path);
    }
    return files;
}

QStringList TMonkey::NamedForDeletion() const
{
    const int location = int(f.Location().GetNumericalValue());
    const int category = int(f.Category().GetNumericalValue());
    QStringList paths;
    for (const QString& name : f.Selected()) {
        if (location == TControllerFixture::eToUpload)
            paths << QDir::cleanPath(f.UploadPath(category, name));
        if (location == TControllerFixture::eDownloaded)
            paths << QDir::cleanPath(f.DownloadPath(category, name));
    }
    return paths;
}

QStringList TMonkey::Step()
{
    using TAction = void (TMonkey::*)();
    static constexpr TAction ACTIONS[] = {
        &TMonkey::ChooseSomething, &TMonkey::SelectSomething,   &TMonkey::SelectSomething,
        &TMonkey::PressAButton,    &TMonkey::PressAButton,      &TMonkey::PressInADialog,
        &TMonkey::PressInADialog,  &TMonkey::LetTheHubReport,   &TMonkey::LetTheListingCome,
        &TMonkey::LetTheHubReport, &TMonkey::PutAFileSomewhere, &TMonkey::PutAFileSomewhere,
        &TMonkey::TurnAWheel,      &TMonkey::WorkTheMiniView,   &TMonkey::HideOrShow,
    };
    m_mayGo.clear();
    (this->*ACTIONS[Number(int(std::size(ACTIONS)))])();
    if (Chance(20))
        QCoreApplication::processEvents();

    QStringList wrong;
    const QSet<QString> files = Files();
    const QSet<QString> gone = m_files - files;
    m_files = files;
    for (const QString& path : gone) {
        ++localDeletions;
        const bool isNamed =
            std::any_of(m_mayGo.begin(), m_mayGo.end(), [&path](const QString& named) {
                return path == named || path.startsWith(named + QLatin1Char('/'));
            });
        if (!isNamed)
            wrong << path;
    }
    return wrong;
}

void TMonkey::ChooseSomething()
{
    if (Chance(50))
        f.Category().SetNumericalValue(Number(7));
    else
        f.Location().SetNumericalValue(Number(3));
}

void TMonkey::SelectSomething()
{
    if (f.List().count() == 0)
        return;
    auto* const item = f.List().item(Number(f.List().count()));
    item->setSelected(Chance(75));
}

void TMonkey::PressAButton()
{
    if (Chance(90))
        f.Button(Number(3)).click();
    else
        f.controller->OnFileActionButtonClicked(Number(5) - 1);
}

// The enabled buttons, sorted so that only the seed decides the order: Qt lists its widgets by
// their addresses.
QList<TPushButton*> TMonkey::ButtonsInDialogs()
{
    QMap<QString, TPushButton*> buttons;
    for (QWidget* window : QApplication::allWidgets()) {
        if (!qobject_cast<TPopupWindow*>(window) || !window->isVisible())
            continue;
        const QList<TPushButton*> inWindow = window->findChildren<TPushButton*>();
        for (int index = 0; index < inWindow.size(); ++index) {
            if (inWindow[index]->isVisible() && inWindow[index]->isEnabled())
                buttons.insert(TitleOf(*window) + QString::number(index), inWindow[index]);
        }
    }
    return buttons.values();
}

void TMonkey::PressInADialog()
{
    const QList<TPushButton*> buttons = ButtonsInDialogs();
    if (buttons.isEmpty())
        return;
    TPushButton* const yes = f.Confirmation().GetMessageDialogButton(TMessageDialog::eButton0);
    TPushButton* const pressed =
        buttons.contains(yes) && Chance(50) ? yes : buttons[Number(buttons.size())];
    if (pressed == yes) {
        ++confirmations;
        m_mayGo = NamedForDeletion();
    }
    pressed->click();
}

void TMonkey::LetTheHubReport()
{
    static const QList<HubEvent> EVENTS = HubEvents();
    EVENTS[Number(EVENTS.size())].happen(f.Hub());
}

void TMonkey::LetTheListingCome()
{
    QStringList names;
    for (int i = Number(6); i > 0; --i)
        names << Name();
    if (f.Confirmation().isVisible())
        ++listingsWhileAsked;
    f.Hub().OnNewKelvoProjectFilesList(Number(7), ListingOf(names));
}

void TMonkey::PutAFileSomewhere()
{
    const int category = Number(7);
    const QString path =
        Chance(50) ? f.UploadPath(category, Name()) : f.DownloadPath(category, Name());
    if (Chance(25)) {
        QDir().mkpath(path + Text("/deep"));
        WriteFile(path + Text("/deep/") + Name());
    } else {
        WriteFile(path);
    }
}

void TMonkey::TurnAWheel()
{
    TPropertyWidget& selector = Chance(50) ? f.Category() : f.Location();
    if (Chance(60))
        selector.OnWheelPressed();
    selector.OnWheelTurned(Number(5) - 2);
    if (Chance(60))
        selector.OnWheelPressed();
    f.List().OnWheelTurned(Number(3) - 1);
}

void TMonkey::WorkTheMiniView()
{
    const auto rows =
        m_miniView.findChildren<TPropertyWidget*>(QString(), Qt::FindDirectChildrenOnly);
    if (Chance(10))
        rows[Number(2)]->SetTextValue(Chance(50) ? QString() : Name());
    m_miniView.findChild<TPushButton*>(QString(), Qt::FindDirectChildrenOnly)->click();
}

void TMonkey::HideOrShow()
{
    QWidget& widget = Chance(50) ? f.window : static_cast<QWidget&>(m_miniView);
    widget.setVisible(Chance(70));
}

} // namespace

class tst_Monkey : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void removesOnlyConfirmedFiles_data();
    void removesOnlyConfirmedFiles();
};

void tst_Monkey::removesOnlyConfirmedFiles_data()
{
    QTest::addColumn<unsigned>("seed");
    QTest::newRow("seed 1") << 1U;
#ifndef __SANITIZE_ADDRESS__ // there, a seed takes 40 s
    QTest::newRow("seed 20") << 20U;
#endif
}

void tst_Monkey::removesOnlyConfirmedFiles()
{
    QFETCH(unsigned, seed);
    TMonkey monkey(seed);
    for (int step = 0; step < STEPS; ++step) {
        const QStringList wrong = monkey.Step();
        QVERIFY2(
            wrong.isEmpty(),
            qPrintable(
                QStringLiteral("step %1: %2 gone").arg(step).arg(wrong.join(QLatin1Char(' ')))));
    }
    // The run reached every state.
    qInfo("%d confirmations, %d local deletions, %d listings while asked", monkey.confirmations,
          monkey.localDeletions, monkey.listingsWhileAsked);
    QVERIFY(monkey.confirmations > 10);
    QVERIFY(monkey.localDeletions > 10);
    QVERIFY(monkey.listingsWhileAsked > 2);
    for (const char* name :
         {"KelvoLoginRequested", "KelvoLogoutRequested", "KelvoUploadRequested",
          "KelvoDownloadRequested", "KelvoDeleteFilesRequested", "KelvoLoginFailed",
          "KelvoUserInboxSetupInProgress", "KelvoUserInboxSetupComplete"})
        QVERIFY2(monkey.f.log.Count(Text(name)) > 2, name);
}

KELVO_WIDGET_TEST_MAIN(tst_Monkey)
#include "tst_Monkey.moc"
