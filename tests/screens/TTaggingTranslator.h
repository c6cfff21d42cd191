// Shows which texts are translated, in which context, and when.
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QTranslator>

// As long as it lives, a translated text reads "{context|disambiguation}text".
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
