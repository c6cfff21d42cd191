#include "hostimpl/TFeatures.h"

#include "hostimpl/TConfigStore.h"

#include <QtCore/QDir>

namespace hostimpl {

TCharacteristics::TCharacteristics(const QString& ethernetName, const QString& consoleString)
    : m_ethernetName(ethernetName), m_consoleString(consoleString)
{}

TCharacteristics::~TCharacteristics() = default;

namespace {

QString TextOr(const QVariant& item, const QString& otherwise)
{
    const QString text = item.toString();
    return text.isEmpty() ? otherwise : text;
}

} // namespace

TFeatures::TFeatures(const ConfigManager& settings)
    : m_characteristics(TextOr(settings.GetItem(eEthernetNameItem), FindEthernetName()),
                        TextOr(settings.GetItem(eConsoleStringItem), QStringLiteral("DESKTOP")))
{}

TFeatures::~TFeatures() = default;

// A wired interface has the entry "device" and no entry "wireless".
QString FindEthernetName()
{
    const QDir interfaces(QStringLiteral("/sys/class/net"));
    const QStringList names = interfaces.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& name : names) {
        if (interfaces.exists(name + QStringLiteral("/device")) &&
            !interfaces.exists(name + QStringLiteral("/wireless"))) {
            return name;
        }
    }
    return QStringLiteral("eth0");
}

} // namespace hostimpl
