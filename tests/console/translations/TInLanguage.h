// Languages of the console in tests.
#pragma once

#include "console/settings/Languages.h"
#include "hostimpl/Display.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QSize>
#include <QtCore/QTranslator>
#include <QtTest/QtTest>

// Sets a language while the object exists. Thread: main, with an application object.
class TInLanguage
{
public:
    explicit TInLanguage(const QString& code) { console::InstallLanguage(code); }
    ~TInLanguage()
    {
        qDeleteAll(QCoreApplication::instance()->findChildren<QTranslator*>());
        QLocale::setDefault(QLocale::c());
    }
    Q_DISABLE_COPY_MOVE(TInLanguage)
};

// Test data: each language on each display, with normal and large texts.
inline void AddLanguagesAndTextSizes()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QSize>("pixels");
    QTest::addColumn<double>("textFactor");
    for (const console::TLanguage& language : console::languages) {
        for (const hostimpl::TDisplay& display : hostimpl::DISPLAYS) {
            for (const double factor : {1.0, 1.15}) {
                QTest::addRow("%s %dx%d %s", language.name, display.pixels.width(),
                              display.pixels.height(), factor > 1.0 ? "large" : "normal")
                    << QString::fromLatin1(language.code) << display.pixels << factor;
            }
        }
    }
}
