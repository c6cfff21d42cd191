// The settings page.
#include "console/settings/Breakable.h"
#include "console/settings/Languages.h"
#include "console/settings/TSettingsPage.h"
#include "console/window/Geometry.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Theme.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

#include <algorithm>
#include <optional>

using console::TSettingsPage;
using console::TStoredSettings;

class TSettingsPageTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    enum ERow : int {
        eService,
        eAuthority,
        ePosition,
        eFolder,
        eLanguage,
        eColours,
        eLevel,
        eScreen,
        eTextSize
    };

    QTemporaryDir m_folder;

    TStoredSettings Sample() const
    {
        TStoredSettings settings;
        settings.service = QStringLiteral("farm.example:8443");
        settings.dataFolder = m_folder.path();
        settings.positionSource = QStringLiteral("gpsd");
        settings.isNight = true;
        return settings;
    }

    TStoredSettings Locked() const
    {
        TStoredSettings settings = Sample();
        settings.pin = QStringLiteral("4711");
        return settings;
    }

    void Unlock(TSettingsPage& page) const
    {
        page.Show(Locked());
        page.Pin()->SetTextValue(Locked().pin);
        page.SaveButton()->click();
    }

    // The settings that the page emits after a touch on Save.
    static std::optional<TStoredSettings> Saved(TSettingsPage& page)
    {
        std::optional<TStoredSettings> saved;
        const auto connection =
            connect(&page, &TSettingsPage::SaveRequested,
                    [&saved](const TStoredSettings& settings) { saved = settings; });
        page.SaveButton()->click();
        disconnect(connection);
        return saved;
    }

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }

    void savesTheShownSettingsUnchanged()
    {
        TSettingsPage page;
        page.Show(Sample());
        const auto saved = Saved(page);
        QVERIFY(saved.has_value());
        QCOMPARE(saved->service, Sample().service);
        QCOMPARE(saved->authorityFile, QString());
        QCOMPARE(saved->dataFolder, Sample().dataFolder);
        QCOMPARE(saved->positionSource, Sample().positionSource);
        QCOMPARE(saved->language, QString());
        QVERIFY(saved->isNight && saved->isDataExchangeAllowed && !saved->isFullScreen);
    }

    void showsStoredSettingsWithoutAChoice_data()
    {
        QTest::addColumn<QString>("code");
        for (const console::TLanguage& language : console::languages) {
            QTest::newRow(language.name) << QString::fromLatin1(language.code);
        }
    }

    // The owner stores the settings of DisplayChosen.
    void showsStoredSettingsWithoutAChoice()
    {
        QFETCH(QString, code);
        TStoredSettings settings = Sample();
        settings.language = code;
        settings.isFullScreen = true;
        settings.isTextLarge = true;
        TSettingsPage page;
        int choices = 0;
        connect(&page, &TSettingsPage::DisplayChosen, [&choices] { ++choices; });
        page.Show(settings);
        QCOMPARE(choices, 0);
        QVERIFY(page.Entered() == settings);
        QVERIFY(!page.HasChanges());
    }

    void savesTheEnteredValues()
    {
        TSettingsPage page;
        page.Show(Sample());
        page.Row(eService)->SetTextValue(QStringLiteral(" other.example "));
        page.Row(ePosition)->SetTextValue(QString());
        page.Row(eColours)->SetNumericalValue(0);
        page.Row(eLevel)->SetNumericalValue(0);
        page.Row(eScreen)->SetNumericalValue(1);
        const auto saved = Saved(page);
        QVERIFY(saved.has_value());
        QCOMPARE(saved->service, QStringLiteral("other.example"));
        QVERIFY(saved->positionSource.isEmpty());
        QVERIFY(!saved->isNight && !saved->isDataExchangeAllowed && saved->isFullScreen);
    }

    void refusesAnInvalidValueWithAMessage_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("value");
        QTest::newRow("service") << int(eService) << QStringLiteral("https://hill.example/");
        QTest::newRow("certificate") << int(eAuthority) << QStringLiteral("/nowhere.pem");
        QTest::newRow("position") << int(ePosition) << QStringLiteral("stars");
        QTest::newRow("folder") << int(eFolder) << QStringLiteral("here");
    }

    void refusesAnInvalidValueWithAMessage()
    {
        QFETCH(int, row);
        QFETCH(QString, value);
        TSettingsPage page;
        page.Show(Sample());
        page.Row(row)->SetTextValue(value);
        QVERIFY(!Saved(page).has_value());
        QVERIFY(!page.Message().isEmpty());
        QVERIFY2(page.Note(row).contains(page.Message()), qUtf8Printable(page.Note(row)));
        // The entered value stays on the page.
        QCOMPARE(page.Row(row)->GetTextValue(), value);
    }

    void checksATextWhenItIsEntered()
    {
        TSettingsPage page;
        page.Show(Sample());
        page.show();
        auto* const edit = page.Row(ePosition)->findChild<QLineEdit*>();
        edit->setFocus();
        edit->setText(QString());
        QTest::keyClicks(edit, QStringLiteral("star"));
        QVERIFY(page.Note(ePosition).startsWith(QStringLiteral("gpsd:HOST"))); // while it is typed
        QTest::keyClick(edit, Qt::Key_Return);
        QVERIFY(page.Note(ePosition).contains(QStringLiteral("\"star\" is none of")));
        QTest::keyClicks(edit, QStringLiteral("s"));
        QVERIFY(page.Note(ePosition).contains(QStringLiteral("\"stars\" is none of")));
        edit->selectAll();
        QTest::keyClicks(edit, QStringLiteral("gpsd"));
        QVERIFY(page.Note(ePosition).startsWith(QStringLiteral("gpsd:HOST")));
    }

    void showsTheValueInUseIfItDiffers()
    {
        TSettingsPage page;
        TStoredSettings inUse = Sample();
        inUse.service = QStringLiteral("other.example");
        inUse.positionSource = QStringLiteral("gpsd:localhost:2947"); // the same as "gpsd"
        inUse.authorityFile = QStringLiteral("/etc/farm.pem");
        page.SetInUse(inUse);
        page.Show(Sample());
        QCOMPARE(page.Note(eService), QStringLiteral("In use: other.example"));
        QCOMPARE(page.Note(eAuthority), QStringLiteral("In use: /etc/farm.pem"));
        QVERIFY(!page.Note(ePosition).startsWith(QStringLiteral("In use")));
        inUse.positionSource.clear();
        page.SetInUse(inUse);
        QCOMPARE(page.Note(ePosition), QStringLiteral("In use: None"));
    }

    void fillsThePositionSourceByAChoice()
    {
        TSettingsPage page;
        page.Show(Sample());
        QCOMPARE(page.Receiver()->GetTextValue(), QStringLiteral("gpsd on this console"));
        page.Receiver()->SetNumericalValue(0);
        QCOMPARE(page.Row(ePosition)->GetTextValue(), QString());
        page.Receiver()->SetNumericalValue(1);
        QCOMPARE(page.Row(ePosition)->GetTextValue(), QStringLiteral("gpsd:localhost:2947"));
        page.Row(ePosition)->SetTextValue(QStringLiteral("gpsd:other"));
        QCOMPARE(page.Receiver()->GetTextValue(), QStringLiteral("Another, as entered below"));
    }

    void saysThatADeviceIsMissing()
    {
        TSettingsPage page;
        TStoredSettings settings = Sample();
        settings.positionSource = QStringLiteral("serial:/nowhere/receiver@9600");
        page.Show(settings);
        QCOMPARE(page.Note(ePosition), QStringLiteral("There is no /nowhere/receiver now."));
        QVERIFY(Saved(page).has_value()); // it may appear later
    }

    void asksForThePinOfTheInstaller()
    {
        TSettingsPage page;
        const TStoredSettings settings = Locked();
        page.Show(settings);
        page.show();
        for (const int row : {eService, eAuthority, ePosition, eFolder, eLevel}) {
            QVERIFY2(!page.Row(row)->isEnabled(), QByteArray::number(row).constData());
        }
        QVERIFY(!page.Receiver()->isEnabled());
        QVERIFY(page.Row(eLanguage)->isEnabled() && page.Row(eColours)->isEnabled());
        QVERIFY(page.Row(eScreen)->isEnabled() && page.Row(eTextSize)->isEnabled());
        auto* const edit = page.Pin()->findChild<QLineEdit*>();
        QCOMPARE(edit->text(), QString());
        edit->setFocus();
        QTest::keyClicks(edit, QStringLiteral("471"));
        QVERIFY(!page.HasChanges());
        QTest::keyClick(edit, Qt::Key_Return);
        QVERIFY(page.PinNote().contains(QStringLiteral("wrong")));
        QVERIFY(!Saved(page).has_value());
        QCOMPARE(page.Message(), QStringLiteral("The PIN is wrong."));
        QTest::keyClicks(edit, QStringLiteral("1"));
        QVERIFY(!page.PinNote().contains(QStringLiteral("wrong")));
        QTest::keyClick(edit, Qt::Key_Return);
        QVERIFY(page.Row(eService)->isEnabled() && page.Row(eLevel)->isEnabled());
        QVERIFY(page.PinNote().contains(QStringLiteral("unlocked")));
        page.Lock();
        page.Show(settings);
        QVERIFY(!page.Row(eService)->isEnabled());
    }

    void refusesAPinThatBeginsWithTheRightDigits()
    {
        TSettingsPage page;
        TStoredSettings settings = Sample();
        settings.pin = QStringLiteral("1234");
        page.Show(settings);
        page.show();
        auto* const edit = page.Pin()->findChild<QLineEdit*>();
        edit->setFocus();
        QTest::keyClicks(edit, QStringLiteral("12345"));
        QVERIFY(!page.Row(eService)->isEnabled() && !page.HasChanges());
        QTest::keyClick(edit, Qt::Key_Return);
        QVERIFY(!page.Row(eService)->isEnabled());
        QVERIFY(page.PinNote().contains(QStringLiteral("wrong")));
    }

    void unlocksBySave()
    {
        TSettingsPage page;
        Unlock(page);
        QVERIFY(page.Row(eService)->isEnabled());
        QCOMPARE(page.Pin()->GetTextValue(), QString());
    }

    void keepsThePinIfTheRowIsEmpty()
    {
        TSettingsPage page;
        Unlock(page);
        QVERIFY(!page.HasChanges());
        page.Pin()->SetTextValue(QStringLiteral("0"));
        page.Pin()->SetTextValue(QString());
        QCOMPARE(Saved(page)->pin, QStringLiteral("4711"));
    }

    void changesThePinOnAnUnlockedPage()
    {
        TSettingsPage page;
        Unlock(page);
        page.Pin()->SetTextValue(QStringLiteral("081"));
        QVERIFY(!Saved(page).has_value());
        page.Pin()->SetTextValue(QStringLiteral("08155"));
        QVERIFY(page.HasChanges());
        QCOMPARE(Saved(page)->pin, QStringLiteral("08155"));
    }

    void removesThePinByAChoice()
    {
        TSettingsPage page;
        page.Show(Sample());
        page.show();
        QVERIFY(!page.PinRemoval()->isVisible()); // there is no PIN
        Unlock(page);
        QVERIFY(page.PinRemoval()->isVisible());
        page.Pin()->SetTextValue(QStringLiteral("08155"));
        page.PinRemoval()->SetNumericalValue(1);
        QVERIFY(page.HasChanges() && !page.Pin()->isEnabled());
        QCOMPARE(Saved(page)->pin, QString());
        page.DiscardButton()->click();
        QVERIFY(!page.HasChanges() && page.Pin()->isEnabled());
        page.Lock();
        page.Show(Locked());
        QVERIFY(!page.PinRemoval()->isVisible());
    }

    void needsNoPinWhereThereIsNone()
    {
        TSettingsPage page;
        page.Show(Sample());
        QVERIFY(page.Row(eService)->isEnabled() && page.Row(eLevel)->isEnabled());
        page.Pin()->SetTextValue(QStringLiteral("12a"));
        QVERIFY(!Saved(page).has_value());
        QVERIFY(page.PinNote().contains(QStringLiteral("digits")));
        page.Pin()->SetTextValue(QStringLiteral("1234"));
        const auto saved = Saved(page);
        QCOMPARE(saved->pin, QStringLiteral("1234"));
        page.Show(*saved);
        QVERIFY(page.Row(eService)->isEnabled()); // until the page is opened again
    }

    void discardsTheEnteredValues()
    {
        TSettingsPage page;
        page.Show(Sample());
        page.Row(eService)->SetTextValue(QStringLiteral("other.example"));
        page.DiscardButton()->click();
        QCOMPARE(page.Row(eService)->GetTextValue(), Sample().service);
    }

    void showsAMessageInFullAfterAChangeOfTheWidth()
    {
        TSettingsPage page;
        page.resize(1200, 600);
        page.show();
        const QString text = QStringLiteral("The service wants a host's name or address, and "
                                            "after a colon its port.");
        page.SetMessage(text);
        const auto labels = page.findChildren<QLabel*>();
        const auto message = std::find_if(labels.cbegin(), labels.cend(), [&](const QLabel* label) {
            return console::WithoutBreaks(label->text()) == text;
        });
        QVERIFY(message != labels.cend());
        for (const int width : {1200, 600}) {
            page.resize(width, 600);
            QCoreApplication::processEvents();
            QVERIFY((*message)->visibleRegion().boundingRect().height() >=
                    (*message)->heightForWidth((*message)->width()));
        }
    }

    void cutsNothingOff()
    {
        // The place for a page in the smallest window.
        TSettingsPage page;
        page.Show(Sample());
        page.SetMessage(QStringLiteral("The service wants a host's name or address, and after a "
                                       "colon its port if it has one of its own."));
        page.resize(680, 370);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        QVERIFY(page.width() <= 680 && page.height() <= 370);
        const QStringList cutOff = CutOffWidgets(page);
        QVERIFY2(cutOff.isEmpty(), qUtf8Printable(cutOff.join(QLatin1Char('\n'))));
        for (int row = 0; row < page.RowCount(); ++row) {
            QVERIFY(page.Row(row)->height() >= hostimpl::TOUCH_SIZE);
        }
    }
};

KELVO_WIDGET_TEST_MAIN(TSettingsPageTest)
#include "tst_SettingsPage.moc"
