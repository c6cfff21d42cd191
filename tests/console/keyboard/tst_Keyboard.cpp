// The on-screen keyboard's library.
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QLibrary>
#include <QtCore/QLocale>
#include <QtQuick/QQuickItem>
#include <QtQuickWidgets/QQuickWidget>
#include <QtTest/QtTest>

class TKeyboardTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    // In one language: a process creates one keyboard only.
    void hasTheLayoutOfTheLanguage()
    {
        QLocale::setDefault(QLocale(QStringLiteral("de")));
        QLibrary library(QStringLiteral(KELVO_KEYBOARD));
        library.setLoadHints(QLibrary::PreventUnloadHint);
        const auto make = reinterpret_cast<QWidget* (*)(QWidget*)>(library.resolve("MakeKeyboard"));
        QVERIFY2(make != nullptr, qUtf8Printable(library.errorString()));
        QWidget window;
        const auto* const keyboard = qobject_cast<QQuickWidget*>(make(&window));
        QVERIFY(keyboard != nullptr);
        QCOMPARE(keyboard->rootObject()->childItems().constFirst()->objectName(),
                 QStringLiteral("de_DE"));
    }
};

KELVO_WIDGET_TEST_MAIN(TKeyboardTest)
#include "tst_Keyboard.moc"
