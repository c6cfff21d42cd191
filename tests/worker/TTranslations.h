// Translations of the worker's texts, for the length of a test.
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QMap>
#include <QtCore/QTranslator>

// Knows texts of the worker's own context only, so that a text that went through another one, or
// through none, stays as it is.
class TTranslations : public QTranslator
{
public:
    explicit TTranslations(const QMap<QByteArray, QByteArray>& texts) : m_texts(texts)
    {
        QCoreApplication::installTranslator(this);
    }
    ~TTranslations() override { QCoreApplication::removeTranslator(this); }

    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char*, int) const override
    {
        return QByteArray(context) == "TKelvoThreadObject"
                   ? QString::fromUtf8(m_texts.value(QByteArray(source)))
                   : QString();
    }

private:
    const QMap<QByteArray, QByteArray> m_texts;
};
