// The languages of the console, with the translations of this build.
#include "console/session/PluginHost.h"
#include "console/settings/Scrolling.h"
#include "console/settings/StoredSettings.h"
#include "console/settings/TSettingsPage.h"
#include "console/translations/TInLanguage.h"
#include "console/window/StatusTexts.h"
#include "console/window/THomePage.h"
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "host/TMessageDialog.h"
#include "host/TPopupWindow.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Theme.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QLibrary>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>

#include <memory>

class TLanguagesTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static constexpr int languageRow = 4;

    QTemporaryDir m_folder;

    // A row for each language that has translations.
    static void AddLanguages()
    {
        QTest::addColumn<QString>("code");
        for (const console::TLanguage& language : console::languages) {
            if (*language.code != '\0') {
                QTest::newRow(language.code) << QString::fromLatin1(language.code);
            }
        }
    }

    static QStringList EntryFieldMenu()
    {
        QLineEdit edit;
        const std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
        QStringList texts;
        const QList<QAction*> actions = menu->actions();
        for (const QAction* const action : actions) {
            if (!action->isSeparator()) {
                texts << action->text().section(QLatin1Char('\t'), 0, 0);
            }
        }
        return texts;
    }

    static bool IsInPopup(const QWidget& widget)
    {
        const QWidget* around = &widget;
        while (around != nullptr && qobject_cast<const TPopupWindow*>(around) == nullptr) {
            around = around->parentWidget();
        }
        return around != nullptr;
    }

    // The choices of the open list, by caption.
    static QMap<QString, TPushButton*> OpenChoices()
    {
        QMap<QString, TPushButton*> choices;
        const QWidgetList widgets = QApplication::allWidgets();
        for (QWidget* const widget : widgets) {
            auto* const button = qobject_cast<TPushButton*>(widget);
            if (button != nullptr && button->Id() >= 0 && button->isVisible() &&
                IsInPopup(*button)) {
                choices.insert(button->text(), button);
            }
        }
        return choices;
    }

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }

    void offersEachLanguage()
    {
        console::TSettingsPage page;
        console::TStoredSettings settings;
        settings.dataFolder = m_folder.path();
        page.Show(settings);
        page.resize(700, 700);
        page.show();
        QCoreApplication::processEvents();
        console::ScrollTo(page.Row(languageRow));
        QTest::mouseClick(page.Row(languageRow), Qt::LeftButton);
        const auto choices = OpenChoices();
        QCOMPARE(choices.size(), int(console::languages.size()));
        for (const console::TLanguage& language : console::languages) {
            const TPushButton* const choice = choices.value(QString::fromUtf8(language.name));
            QVERIFY2(choice != nullptr && choice->isEnabled(), language.code);
        }
        choices.value(QStringLiteral("Polski"))->click();
        QString saved;
        connect(&page, &console::TSettingsPage::SaveRequested,
                [&saved](const console::TStoredSettings& wanted) { saved = wanted.language; });
        page.SaveButton()->click();
        QCOMPARE(saved, QStringLiteral("pl"));
    }

    void hidesALanguageWithoutATranslation()
    {
        QVERIFY(console::IsLanguageInstalled(QString()));
        QVERIFY(console::IsLanguageInstalled(QStringLiteral("de")));
        QVERIFY(!console::IsLanguageInstalled(QStringLiteral("eo")));
    }

    void translatesTheScreens_data()
    {
        QTest::addColumn<QString>("settings");
        QTest::addColumn<QString>("close");
        QTest::addColumn<QString>("service");
        QTest::addColumn<QString>("offline");
        QTest::addColumn<QString>("missing");
        QTest::addColumn<QString>("refusal");
        const auto row = [](const char* code, const char* settings, const char* close,
                            const char* service, const char* lost, const char* missing,
                            const char* refusal) {
            QTest::newRow(code) << QString::fromUtf8(settings) << QString::fromUtf8(close)
                                << QString::fromUtf8(service) << QString::fromUtf8(lost)
                                << QString::fromUtf8(missing) << QString::fromUtf8(refusal);
        };
        row("", "Settings", "Close", "Service", "No network", "There is no plug-in",
            "Position source: \"stars\" is none of");
        row("de", "Setup", "Schließen", "Dienst", "Kein Netz", "Es gibt kein Plug-in",
            "Positionsquelle: \"stars\" ist nichts von");
        row("fr", "Réglages", "Fermer", "Service", "Pas de réseau", "Il n'y a pas de plug-in",
            "Source de position\u00a0: \"stars\" n'est ni");
        row("es", "Ajustes", "Cerrar", "Servicio", "Sin red", "No existe el complemento",
            "Fuente de posición: \"stars\" no es");
        row("pt_BR", "Ajustes", "Fechar", "Serviço", "Sem rede", "Não existe o plug-in",
            "Fonte de posição: \"stars\" não é");
        row("pl", "Opcje", "Zamknij", "Usługa", "Brak sieci", "Nie ma wtyczki",
            "Źródło pozycji: \"stars\" to nie");
    }

    void translatesTheScreens()
    {
        QFETCH(QString, settings);
        QFETCH(QString, close);
        QFETCH(QString, offline);
        QFETCH(QString, missing);
        QFETCH(QString, refusal);
        const TInLanguage inLanguage(QString::fromLatin1(QTest::currentDataTag()));

        const console::TLauncherBar launcher;
        QCOMPARE(launcher.SettingsButton()->text(), settings);
        TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eOperation, false,
                              QPixmap());
        dialog.EnableButton(TMessageDialog::eButton0, true); // which builds the dialog
        QCOMPARE(dialog.GetMessageDialogButton(TMessageDialog::eButton0)->text(), close);
        kesdkimpl::LinkStatus status;
        status.session = kesdkimpl::ESession::eLoggedIn;
        status.problem = kesdkimpl::EProblem::eNoNetwork;
        QCOMPARE(console::LinkWords(status).text, offline);

        QString errorText;
        console::TPluginHost plugin;
        QVERIFY(!plugin.Load(QStringLiteral("/nowhere/libkelvo.so"), errorText));
        QVERIFY2(errorText.startsWith(missing), qUtf8Printable(errorText));
        console::TStoredSettings stored;
        stored.dataFolder = m_folder.path();
        stored.positionSource = QStringLiteral("stars");
        QVERIFY(!console::CheckStoredSettings(stored, errorText));
        QVERIFY2(errorText.startsWith(refusal), qUtf8Printable(errorText));
    }

    void translatesQtsMenuOfAnEntryField_data() { AddLanguages(); }

    void translatesQtsMenuOfAnEntryField()
    {
        QFETCH(QString, code);
        const QStringList english = EntryFieldMenu();
        QVERIFY(english.size() >= 7);
        const TInLanguage inLanguage(code);
        const QStringList translated = EntryFieldMenu();
        QCOMPARE(translated.size(), english.size());
        for (int i = 0; i < english.size(); ++i) {
            QVERIFY2(translated.at(i) != english.at(i), qUtf8Printable(english.at(i)));
        }
    }

    void translatesWhyALibraryDoesNotLoad_data() { AddLanguages(); }

    void translatesWhyALibraryDoesNotLoad()
    {
        QFETCH(QString, code);
        const TInLanguage inLanguage(code);
        QLibrary library(QStringLiteral("/nowhere/libkelvo.so"));
        QVERIFY(!library.load());
        QVERIFY2(!library.errorString().startsWith(QStringLiteral("Cannot load")),
                 qUtf8Printable(library.errorString()));
    }
};

KELVO_WIDGET_TEST_MAIN(TLanguagesTest)
#include "tst_Languages.moc"
