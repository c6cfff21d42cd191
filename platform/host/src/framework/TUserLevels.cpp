#include "hostimpl/TUserLevels.h"

#include "hostimpl/TConfigStore.h"

namespace hostimpl {

TUserLevels::TUserLevels(ConfigManager& settings) : m_settings(settings) {}

TUserLevels::~TUserLevels() = default;

bool TUserLevels::IsControlAccessible(EControl control) const
{
    return !m_settings.GetItem(eDeniedControlsItem).toList().contains(QVariant(int(control)));
}

void TUserLevels::SetControlAccessible(EControl control, bool isAccessible)
{
    QVariantList denied = m_settings.GetItem(eDeniedControlsItem).toList();
    denied.removeAll(QVariant(int(control)));
    if (!isAccessible) {
        denied.append(QVariant(int(control)));
    }
    m_settings.SetItem(eDeniedControlsItem, denied, true);
}

} // namespace hostimpl
