// The exports of the plug-in's library: the entry points that the host looks up by name, and the
// process-wide pointers. Main thread only.
#pragma once

#include "core/TKelvoInterface.h"

#include <QtCore/QString>

class QWidget;
class TAppFeatures;
class TAppUserLevels;
class TGPSCoordinator;
class TKelvoDll;

extern "C" {

// The root object; null before Initialise and after Finalise.
KELVO_EXPORT extern TKelvoDll* dll;
// The arguments of the last Initialise call. The host owns them.
KELVO_EXPORT extern const TAppUserLevels* UserLevels;
KELVO_EXPORT extern const TAppFeatures* Features;

// Builds and starts the plug-in. A repeated call only replaces the user levels and the features.
// After an exception `dll` is null. The arguments have to outlive Finalise.
KELVO_EXPORT void Initialise(QWidget* parentWidget, const TGPSCoordinator* gpsCoordinator,
                             const QString& hostString, const TAppUserLevels* userLevels,
                             const TAppFeatures* features);

// Stops the plug-in and blocks until its thread has ended. Does nothing if the plug-in is not
// running.
KELVO_EXPORT void Finalise();

// The hub; null before the first Initialise and after Finalise.
KELVO_EXPORT TKelvoInterface* GetKelvoInterface();
}
