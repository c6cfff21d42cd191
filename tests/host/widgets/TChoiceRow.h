// A property row with choices, in a visible window.
#pragma once

#include "host/TPropertyWidget.h"
#include "host/TWindow.h"
#include "widgets/TChoicePopup.h"

#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

inline TEditItem Places(bool doesWrap = false)
{
    TEditItem item;
    item.maximum = 3;
    item.doesWrap = doesWrap;
    for (const char* const label : {"Zero", "One", "Two", "Three"}) {
        item.options.Append(QString::fromLatin1(label));
    }
    return item;
}

struct TChoiceRow
{
    explicit TChoiceRow(const TEditItem& item)
        : row(&window, -1), changes(&row, SIGNAL(ValueChanged()))
    {
        window.resize(600, 400);
        row.setGeometry(0, 0, 400, PROPERTY_WIDGET_HEIGHT);
        row.SetPropertyName(QStringLiteral("Place"));
        row.SetPropertyType(TPropertyWidget::eChoice, &item);
        window.show();
        row.setFocus();
    }

    TChoicePopup* Popup() { return window.findChild<TChoicePopup*>(); }

    TWindow window;
    TPropertyWidget row;
    QSignalSpy changes;
};
