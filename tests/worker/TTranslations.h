// Translations of the worker's texts during a test.
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QMap>
#include <QtCore/QTranslator>

// Translates only texts in the worker's context. A text in another context, or without translation,
// stays unchanged.
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
