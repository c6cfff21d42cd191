#include "console/tour/driver/ScreenText.h"

#include "host/TListWidget.h"
#include "host/TMessageDialog.h"
#include "host/TProgressDialog.h"
#include "host/TProperty.h"
#include "host/TPropertyWidget.h"
#include "hostimpl/PopupHost.h"

#include <QtCore/QJsonArray>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

#include <algorithm>

namespace {

// `place` is the console's window or a popup.
template <typename TWidget>
QList<TWidget*> Visible(const QWidget& place)
{
    QList<TWidget*> widgets = place.findChildren<TWidget*>();
    const auto isElsewhere = [&place](const QWidget* widget) {
        return !widget->isVisible() || tour::PlaceOf(*widget) != &place;
    };
    widgets.erase(std::remove_if(widgets.begin(), widgets.end(), isElsewhere), widgets.end());
    return widgets;
}

QJsonArray Buttons(const QWidget& window)
{
    QJsonArray buttons;
    for (const QAbstractButton* const button : Visible<QAbstractButton>(window)) {
        QJsonObject description{{QStringLiteral("text"), tour::ButtonName(*button)},
                                {QStringLiteral("enabled"), button->isEnabled()},
                                {QStringLiteral("checked"), button->isChecked()}};
        if (!button->accessibleDescription().isEmpty()) {
            description.insert(QStringLiteral("badge"), button->accessibleDescription());
        }
        buttons.append(description);
    }
    return buttons;
}

// The value as it is drawn: dots for a hidden text.
QString ShownValue(const TPropertyWidget& row)
{
    const auto* const edit = row.findChild<QLineEdit*>();
    if (edit != nullptr && edit->isVisible()) {
        return edit->displayText();
    }
    const QString text = row.GetTextValue();
    return text.isEmpty() ? QString::number(row.GetNumericalValue()) : text;
}

QJsonArray Rows(const QWidget& window)
{
    QJsonArray rows;
    for (const TPropertyWidget* const row : Visible<TPropertyWidget>(window)) {
        rows.append(QJsonObject{{QStringLiteral("name"), row->accessibleName()},
                                {QStringLiteral("value"), ShownValue(*row)},
                                {QStringLiteral("enabled"), row->isEnabled()}});
    }
    return rows;
}

QJsonArray Names(const QWidget& window)
{
    QJsonArray names;
    for (const TListWidget* const list : Visible<TListWidget>(window)) {
        for (int row = 0; row < list->count(); ++row) {
            names.append(QJsonObject{{QStringLiteral("text"), list->item(row)->text()},
                                     {QStringLiteral("selected"), list->item(row)->isSelected()}});
        }
    }
    return names;
}

// The visible texts that are not controls.
QJsonArray Labels(const QWidget& window)
{
    QJsonArray labels;
    for (const QWidget* const widget : Visible<QWidget>(window)) {
        const auto* const label = qobject_cast<const QLabel*>(widget);
        const bool isNamed = label == nullptr && !widget->accessibleName().isEmpty() &&
                             qobject_cast<const QAbstractButton*>(widget) == nullptr &&
                             qobject_cast<const TPropertyWidget*>(widget) == nullptr;
        const QString text =
            label != nullptr ? label->text() : (isNamed ? widget->accessibleName() : QString());
        if (!text.isEmpty()) {
            labels.append(text);
        }
    }
    return labels;
}

void DescribeKind(const QWidget& window, QJsonObject& description)
{
    const QString kind = QStringLiteral("kind");
    const QString title = QStringLiteral("title");
    const QString text = QStringLiteral("text");
    if (const auto* const message = qobject_cast<const TMessageDialog*>(&window)) {
        description.insert(kind, QStringLiteral("message"));
        description.insert(title, message->Title());
        description.insert(text, message->Message());
    } else if (const auto* const progress = qobject_cast<const TProgressDialog*>(&window)) {
        description.insert(kind, QStringLiteral("progress"));
        description.insert(title, progress->Title());
        description.insert(text, progress->Message());
        description.insert(QStringLiteral("progress"), progress->Progress());
    } else if (qobject_cast<const TPopupWindow*>(&window) != nullptr) {
        description.insert(kind, QStringLiteral("choice"));
    } else {
        description.insert(kind, QStringLiteral("console"));
    }
}

QJsonObject WindowText(const QWidget& window)
{
    QJsonObject description{{QStringLiteral("buttons"), Buttons(window)},
                            {QStringLiteral("rows"), Rows(window)},
                            {QStringLiteral("names"), Names(window)},
                            {QStringLiteral("labels"), Labels(window)}};
    DescribeKind(window, description);
    return description;
}

} // namespace

namespace tour {

QString ButtonName(const QWidget& button)
{
    const auto* const abstract = qobject_cast<const QAbstractButton*>(&button);
    if (abstract != nullptr && !abstract->text().isEmpty()) {
        return abstract->text();
    }
    return button.accessibleName();
}

const QWidget* PlaceOf(const QWidget& widget)
{
    for (const QWidget* around = &widget; around != nullptr; around = around->parentWidget()) {
        if (qobject_cast<const TPopupWindow*>(around) != nullptr) {
            return around;
        }
    }
    return widget.window();
}

QJsonObject ScreenText(const QWidget& window)
{
    QJsonArray windows{WindowText(window)};
    for (const QWidget* const popup : hostimpl::OpenPopups()) {
        windows.append(WindowText(*popup));
    }
    return QJsonObject{{QStringLiteral("windows"), windows}};
}

} // namespace tour
