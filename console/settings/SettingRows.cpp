#include "console/settings/SettingRows.h"

#include "host/TPropertyWidget.h"

namespace console {

TPropertyWidget* MakeRow(const char* iconName, const QString& name)
{
    auto* const row = new TPropertyWidget;
    row->SetPropertyIcon(QString::fromLatin1(iconName));
    row->SetPropertyName(name);
    row->setFixedHeight(PROPERTY_WIDGET_HEIGHT);
    return row;
}

} // namespace console
