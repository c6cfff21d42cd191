// Marks translated texts with their context.
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QTranslator>

// During its lifetime, a translated text is "{context|disambiguation}text".
class TTaggingTranslator : public QTranslator
{
public:
    TTaggingTranslator() { QCoreApplication::installTranslator(this); }
    ~TTaggingTranslator() override { QCoreApplication::removeTranslator(this); }

    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* sourceText, const char* disambiguation,
                      int) const override
    {
        return QStringLiteral("{%1|%2}%3")
            .arg(QString::fromLatin1(context), QString::fromLatin1(disambiguation),
                 QString::fromLatin1(sourceText));
    }
};
