// The texts of the home page for each state.
#include "console/window/HomeTexts.h"
#include "console/window/StatusTexts.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QLocale>

using console::THomeCard;
using console::THomeState;

class THomeTextsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static constexpr int maps = 0;
    static constexpr int reports = 1;
    static constexpr int curves = 3;

    // The text of a category's card, with plain blanks.
    static QString Text(const THomeState& state, int project)
    {
        QString text = console::CategoryCards(state).at(project).text;
        return text.replace(QChar(QChar::Nbsp), QLatin1Char(' '));
    }

    static THomeState LoggedIn()
    {
        THomeState state;
        state.isLoggedIn = true;
        state.link.session = kesdkimpl::ESession::eLoggedIn;
        return state;
    }

private Q_SLOTS:
    void saysThatNobodyIsLoggedIn()
    {
        const auto cards = console::CategoryCards({});
        QCOMPARE(cards.size(), int(KELVO_PROJECT_COUNT));
        QCOMPARE(cards.at(curves).title, QStringLiteral("Curves"));
        QVERIFY(cards.at(curves).text.startsWith(QStringLiteral("On KELVO: logged out\n")));
        QVERIFY(!cards.at(reports).text.contains(QStringLiteral("KELVO")));
    }

    void saysNotListedInsteadOfZero()
    {
        THomeState state = LoggedIn();
        state.service.at(curves) = {0, 0};
        QVERIFY(Text(state, maps).startsWith(QStringLiteral("On KELVO: not listed yet\n")));
        QVERIFY(Text(state, curves).startsWith(QStringLiteral("On KELVO: 0\n")));
    }

    void showsTheNewFiles()
    {
        THomeState state = LoggedIn();
        state.service.at(maps) = {12, 3};
        state.service.at(curves) = {4, 0};
        QCOMPARE(console::CategoryCards(state).at(maps).badge, QStringLiteral("3 new"));
        QCOMPARE(console::CategoryCards(state).at(curves).badge, QString());
        QCOMPARE(state.NewFiles(), 3);
        QLocale::setDefault(QLocale(QLocale::German));
        QCOMPARE(console::BadgeText(1200), QStringLiteral("1.200 new"));
        QLocale::setDefault(QLocale::c());
    }

    void showsTheFilesOnTheConsole()
    {
        THomeState state;
        QVERIFY(Text(state, curves).endsWith(QStringLiteral("\nOn the console: not counted")));
        state.folders = console::TFolderFigures();
        state.folders->categories.at(maps) = {2, {}};
        state.folders->categories.at(reports) = {{}, 1};
        state.folders->categories.at(curves) = {{}, 10'000};
        QVERIFY(Text(state, maps).endsWith(QStringLiteral("\nDownloaded: 2")));
        QCOMPARE(Text(state, reports), QStringLiteral("To send: 1"));
        // The number stays beside its name.
        QVERIFY(!console::CategoryCards(state).at(reports).text.contains(QLatin1Char(' ')));
        QLocale::setDefault(QLocale(QLocale::German));
        QVERIFY(Text(state, curves)
                    .endsWith(QStringLiteral("\nDownloaded: not readable   To send: 10.000")));
        QLocale::setDefault(QLocale::c());
    }

    // An answer to another request tells nothing about the figures.
    void givesTheTimeOfTheFiguresWhileTheServiceIsSilent()
    {
        THomeState state = LoggedIn();
        state.service.at(maps) = {12, 0};
        state.link.problem = kesdkimpl::EProblem::eNoAnswer;
        const std::int64_t lists = 1800000000;
        const std::int64_t contact = lists + 3600;
        state.link.listsCurrentAt = kesdkimpl::Moment{lists, {}};
        state.link.lastContact = kesdkimpl::Moment{contact, {}};
        const QString figures =
            QStringLiteral("On KELVO at %1: 12\n").arg(console::TimeText(lists));
        QVERIFY(Text(state, maps).startsWith(figures));
        const THomeCard link = console::StateCards(state).first();
        QCOMPARE(link.text, QStringLiteral("Service does not answer\nLast contact: %1")
                                .arg(console::TimeText(contact)));
    }

    void showsThePosition()
    {
        const auto text = [](const THomeState& state) {
            QString words = console::StateCards(state).at(1).text;
            return words.replace(QChar(QChar::Nbsp), QLatin1Char(' '));
        };
        THomeState state;
        QCOMPARE(text(state), QStringLiteral("No position source"));
        state.position.state = console::EPositionState::eFix;
        state.position.source = console::ESourceState::eRunning;
        state.position.fix = {52.5, -11.25, 0.0, console::EFixQuality::eRtkFixed, {}, {}, {}};
        QCOMPARE(text(state), QStringLiteral("RTK\n52.50000\u00b0 N  11.25000\u00b0 W"));
        state.position.fix.satellites = 14;
        state.position.fix.speedKmh = 10.186;
        state.position.fix.headingDegrees = 359.6;
        QCOMPARE(text(state),
                 QStringLiteral("RTK   Satellites: 14\n52.50000\u00b0 N  11.25000\u00b0 W\n"
                                "Speed: 10.2 km/h   Heading: 0\u00b0"));
        state.position.fix.speedKmh = 0.4;
        QVERIFY(text(state).endsWith(QStringLiteral("\nSpeed: 0.4 km/h")));
        state.position.state = console::EPositionState::eLost;
        state.position.ageMs = 12'000;
        QCOMPARE(text(state), QStringLiteral("Position lost 12 s ago"));
    }

    void showsTheFreeSpace()
    {
        THomeState state;
        QCOMPARE(console::StateCards(state).last().text, QStringLiteral("Free: not known"));
        state.folders = console::TFolderFigures();
        state.folders->freeBytes = 12'300'000'000;
        QCOMPARE(console::StateCards(state).last().text, QStringLiteral("Free: 12.3 GB"));
        QLocale::setDefault(QLocale(QLocale::German));
        QCOMPARE(console::StateCards(state).last().text, QStringLiteral("Free: 12,3 GB"));
        QLocale::setDefault(QLocale::c());
    }
};

KELVO_WIDGET_TEST_MAIN(THomeTextsTest)
#include "tst_HomeTexts.moc"
