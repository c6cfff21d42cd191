// Sets a language of the console while the object exists.
#pragma once

#include "console/settings/Languages.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QTranslator>

// Thread: main, with an application object.
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
