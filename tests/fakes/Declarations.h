// The declarations of a class in Qt's meta-object system.
#pragma once

#include <QtCore/QMetaMethod>
#include <QtCore/QStringList>

namespace fakes {

// The signals or slots that the class itself declares, in the order of declaration. Each is
// "Name(type name, ...)". A parameter without a name is only its type.
inline QStringList Declarations(const QMetaObject& meta, QMetaMethod::MethodType type)
{
    QStringList declarations;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() != type)
            continue;
        QStringList parameters;
        for (int p = 0; p < method.parameterCount(); ++p) {
            const QByteArray name = method.parameterNames().at(p);
            const QByteArray text = method.parameterTypes().at(p) + (name.isEmpty() ? "" : " ");
            parameters << QString::fromLatin1(text + name);
        }
        declarations << QStringLiteral("%1(%2)").arg(QString::fromLatin1(method.name()),
                                                     parameters.join(QStringLiteral(", ")));
    }
    return declarations;
}

// Joins the declarations, one for each line.
inline QStringList Lines(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace fakes
