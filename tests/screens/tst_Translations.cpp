// The plug-in in each built language.
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include "screens/TKelvoMiniView.h"

#include <QtCore/QTranslator>
#include <QtTest/QtTest>

class tst_Translations : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void translatesThePluginsTexts_data();
    void translatesThePluginsTexts();
};

void tst_Translations::translatesThePluginsTexts_data()
{
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("maps");
    QTest::addColumn<QString>("unzip");
    const auto row = [](const char* language, const char* login, const char* maps,
                        const char* unzip) {
        QTest::newRow(language) << QString::fromUtf8(login) << QString::fromUtf8(maps)
                                << QString::fromUtf8(unzip);
    };
    row("de", "Anmelden", "Applikationskarten", "Die Datei konnte nicht entpackt werden");
    row("fr", "Connexion", "Cartes de préconisation", "Impossible de décompresser le fichier");
    row("es", "Iniciar sesión", "Mapas de prescripción", "No se pudo descomprimir el archivo");
    row("pt_BR", "Entrar", "Mapas de prescrição", "Não foi possível descompactar o arquivo");
    row("pl", "Zaloguj", "Mapy aplikacyjne", "Nie udało się rozpakować pliku");
}

void tst_Translations::translatesThePluginsTexts()
{
    QFETCH(QString, login);
    QFETCH(QString, maps);
    QFETCH(QString, unzip);
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral("%1/kelvo_%2.qm")
                                .arg(QStringLiteral(KELVO_TRANSLATIONS_FOLDER),
                                     QString::fromLatin1(QTest::currentDataTag()))));
    QVERIFY(QCoreApplication::installTranslator(&translator));

    QCOMPARE(QCoreApplication::translate("TKelvoThreadObject", "Failed to unzip file"), unzip);
    TControllerFixture f;
    f.SetUp(true);
    const TKelvoMiniView miniView(nullptr, f.levels);
    const auto* const button =
        miniView.findChild<TPushButton*>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(button->text(), login);
    QCOMPARE(button->UntranslatedCaption(), QStringLiteral("Login"));
    QCOMPARE(f.Category().GetTextValue(), maps);
    QCOMPARE(f.Button(0).text(), QStringLiteral("Download")); // required to stay untranslated
}

KELVO_WIDGET_TEST_MAIN(tst_Translations)
#include "tst_Translations.moc"
