#include "plugin/EntryPoints.h"

#include "plugin/TKelvoDll.h"

TKelvoDll* dll = nullptr;
const TAppUserLevels* UserLevels = nullptr;
const TAppFeatures* Features = nullptr;

void Initialise(QWidget* parentWidget, const TGPSCoordinator* gpsCoordinator,
                const QString& hostString, const TAppUserLevels* userLevels,
                const TAppFeatures* features)
{
    UserLevels = userLevels;
    Features = features;
    if (dll != nullptr) {
        return;
    }
    dll = new TKelvoDll(parentWidget, gpsCoordinator, *features, hostString);
    dll->Initialise();
}

void Finalise()
{
    if (dll == nullptr) {
        return;
    }
    dll->Finalise();
    delete dll;
    dll = nullptr;
}

TKelvoInterface* GetKelvoInterface()
{
    return KelvoInterface;
}
