#include "console/headless/OneLine.h"

namespace console {

QString OneLine(const QString& text)
{
    QString line;
    for (const QChar character : text) {
        if (character == QLatin1Char('\\')) {
            line += QLatin1String("\\\\");
        } else if (character == QLatin1Char('\n')) {
            line += QLatin1String("\\n");
        } else if (character.category() == QChar::Other_Control ||
                   character.category() == QChar::Separator_Line ||
                   character.category() == QChar::Separator_Paragraph) {
            line += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            line += character;
        }
    }
    return line;
}

QString OneLine(const KelvoFileTransferErrorDetailsList& errors)
{
    QStringList texts;
    for (const KelvoFileTransferErrorDetails& error : errors) {
        texts << OneLine(error.fileName) + QLatin1String(": ") + OneLine(error.errorMsg);
    }
    return QStringLiteral("%1 %2: %3")
        .arg(errors.size())
        .arg(errors.size() == 1 ? QStringLiteral("error") : QStringLiteral("errors"),
             texts.join(QStringLiteral("; ")));
}

} // namespace console
