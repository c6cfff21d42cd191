#include "console/translations/ScreenFaults.h"

#include "console/translations/DrawnTexts.h"
#include "console/window/Geometry.h"
#include "console/window/TIconButton.h"

#include <QtCore/QCoreApplication>
#include <QtWidgets/QLabel>

QString Faults(QWidget& widget)
{
    // A change of one layout may change another layout.
    for (int pass = 0; pass < 10; ++pass) {
        QCoreApplication::processEvents();
    }
    QStringList faults = CutOffWidgets(widget);
    const QStringList texts = DrawnTexts(widget);
    for (const QString& text : texts) {
        if (text.contains(QChar(0x2026))) {
            faults << QStringLiteral("elided: ") + text;
        }
    }
    const QList<QLabel*> labels = widget.findChildren<QLabel*>();
    for (const QLabel* const label : labels) {
        const int height = label->hasHeightForWidth() ? label->heightForWidth(label->width())
                                                      : label->sizeHint().height();
        if (label->isVisible() &&
            (label->height() < height || label->width() < label->minimumSizeHint().width())) {
            faults << QStringLiteral("cut: ") + label->text();
        }
    }
    const QList<console::TIconButton*> buttons = widget.findChildren<console::TIconButton*>();
    for (const console::TIconButton* const button : buttons) {
        if (button->isVisible() && !texts.contains(button->text())) {
            faults << QStringLiteral("shortened: ") + button->text();
        }
    }
    return faults.join(QLatin1Char('\n'));
}
