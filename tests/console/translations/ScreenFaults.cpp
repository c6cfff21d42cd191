#include "console/translations/ScreenFaults.h"

#include "console/translations/DrawnTexts.h"
#include "console/window/Geometry.h"
#include "console/window/TIconButton.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Display.h"
#include "hostimpl/Theme.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QHash>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollBar>

#include <algorithm>

namespace {

double pixelMm = hostimpl::DISPLAYS[0].PixelMillimetres(); // of the layout
int leastPixels = 0; // of a text, if the operator wants no large texts

// A line for each button, row or scroll bar that is smaller than 9 mm.
QStringList SmallTargets(const QWidget& widget)
{
    constexpr double leastMm = 9.0;
    QStringList faults;
    const QList<QWidget*> parts = widget.findChildren<QWidget*>();
    for (const QWidget* const part : parts) {
        if (part->testAttribute(Qt::WA_TransparentForMouseEvents)) {
            continue;
        }
        const bool isTarget = qobject_cast<const QAbstractButton*>(part) != nullptr ||
                              qobject_cast<const TPropertyWidget*>(part) != nullptr ||
                              qobject_cast<const QScrollBar*>(part) != nullptr;
        const int extent = std::min(part->width(), part->height());
        if (isTarget && part->isVisible() && extent * pixelMm < leastMm) {
            faults << QStringLiteral("small: %1 of %2 pixels")
                          .arg(QString::fromLatin1(part->metaObject()->className()))
                          .arg(extent);
        }
    }
    return faults;
}

// A line for each button whose caption is smaller than the caption of a button beside it.
QStringList UnequalCaptions(const QWidget& widget)
{
    QStringList faults;
    QHash<QWidget*, int> largest;
    const QList<TPushButton*> buttons = widget.findChildren<TPushButton*>();
    for (const bool isKnown : {false, true}) {
        for (TPushButton* const button : buttons) {
            if (!button->isVisible() || button->text().isEmpty()) {
                continue;
            }
            const int size = SmallestDrawnText(*button);
            int& found = largest[button->parentWidget()];
            if (isKnown && size < found) {
                faults << QStringLiteral("smaller than its neighbours: ") + button->text();
            }
            found = std::max(found, size);
        }
    }
    return faults;
}

} // namespace

QSize SetDisplay(const QSize& pixels, double textFactor)
{
    const hostimpl::TDisplay& display = hostimpl::DisplayOf(pixels);
    pixelMm = display.PixelMillimetres() * display.scale;
    hostimpl::SetTextSize(pixelMm, 1.0);
    leastPixels = hostimpl::ThemeFont(hostimpl::EFont::eCaption).pixelSize();
    hostimpl::SetTextSize(pixelMm, textFactor);
    return display.LayoutPixels();
}

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
    faults += UnequalCaptions(widget);
    if (SmallestDrawnText(widget) < leastPixels) {
        faults << QStringLiteral("small letters");
    }
    return (faults + SmallTargets(widget)).join(QLatin1Char('\n'));
}
