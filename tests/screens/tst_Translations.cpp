// The screens in each built language.
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include "screens/TKelvoMiniView.h"

#include <QtCore/QTranslator>
#include <QtTest/QtTest>

class tst_Translations : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void isTranslated_data();
    void isTranslated();
};

void tst_Translations::isTranslated_data()
{
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("maps");
    const auto row = [](const char* language, const char* login, const char* maps) {
        QTest::newRow(language) << QString::fromUtf8(login) << QString::fromUtf8(maps);
    };
    row("de", "Anmelden", "Applikationskarten");
    row("fr", "Connexion", "Cartes de préconisation");
    row("es", "Iniciar sesión", "Mapas de prescripción");
    row("pt_BR", "Entrar", "Mapas de prescrição");
    row("pl", "Zaloguj", "Mapy aplikacyjne");
}

void tst_Translations::isTranslated()
{
    QFETCH(QString, login);
    QFETCH(QString, maps);
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral("%1/kelvo_%2.qm")
                                .arg(QStringLiteral(KELVO_TRANSLATIONS_FOLDER),
                                     QString::fromLatin1(QTest::currentDataTag()))));
    QVERIFY(QCoreApplication::installTranslator(&translator));

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
