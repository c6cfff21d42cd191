// Languages of the console in tests.
#pragma once

#include "console/settings/Languages.h"

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

// Test data: each language on the smallest and on the usual display.
inline void AddLanguagesAndSizes()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QSize>("size");
    for (const console::TLanguage& language : console::languages) {
        for (const QSize size : {QSize(800, 480), QSize(1280, 800)}) {
            QTest::addRow("%s %dx%d", language.name, size.width(), size.height())
                << QString::fromLatin1(language.code) << size;
        }
    }
}
