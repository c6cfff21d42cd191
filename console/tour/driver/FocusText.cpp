#include "console/tour/driver/FocusText.h"

#include "console/tour/driver/ScreenText.h"
#include "host/TListWidget.h"
#include "host/TPropertyWidget.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>

namespace {

QJsonObject Focus(const char* kind, const QString& name)
{
    return {{QStringLiteral("kind"), QString::fromLatin1(kind)}, {QStringLiteral("name"), name}};
}

} // namespace

namespace tour {

QJsonObject FocusText(const QWidget& window)
{
    const QWidget* const focus = QApplication::focusWidget();
    if (focus == nullptr || focus->window() != &window) {
        return Focus("none", QString());
    }
    for (const QWidget* widget = focus; widget != &window; widget = widget->parentWidget()) {
        if (qobject_cast<const QAbstractButton*>(widget) != nullptr) {
            return Focus("button", ButtonName(*widget));
        }
        if (qobject_cast<const TPropertyWidget*>(widget) != nullptr) {
            const bool isText = qobject_cast<const QLineEdit*>(focus) != nullptr;
            return Focus(isText ? "text" : "row", widget->accessibleName());
        }
        if (const auto* const list = qobject_cast<const TListWidget*>(widget)) {
            QJsonObject description = Focus("list", QString());
            const QListWidgetItem* const current = list->currentItem();
            description.insert(QStringLiteral("current"),
                               current == nullptr ? QString() : current->text());
            return description;
        }
    }
    return Focus("other", QString::fromLatin1(focus->metaObject()->className()));
}

} // namespace tour
