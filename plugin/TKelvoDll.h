// The plug-in's root object.
#pragma once

#include "host/TGen2DynamicLibrary.h"

#include <QtCore/QString>

class TAppFeatures;
class TGPSCoordinator;
class TKelvoThreadObject;

// Creates the hub and the worker, starts the worker's thread, and stops and deletes them again.
//
// Thread: main. Ownership: the exported pointer `dll` owns the root object. The root object owns
// the worker and deletes it in Finalise(). The worker deletes the hub.
class TKelvoDll : public TGen2DynamicLibrary
{
public:
    TKelvoDll(QWidget* parentWidget, const TGPSCoordinator* gpsCoordinator,
              const TAppFeatures& features, const QString& hostString);
    // Does not stop or delete the worker: Finalise() does.
    ~TKelvoDll() override;

    // Starts the worker's thread and returns. The worker initialises itself on that thread.
    void Initialise() override;
    // Blocks until the worker's thread has ended.
    void Finalise() override;
#ifdef KELVO_HAS_SCREENS
    // Registers the login panel and the file controller with the window manager, which owns them
    // from then on. Call it after Initialise(). After an exception nothing is registered.
    void CreateScreens() override;
#endif

private:
    TKelvoThreadObject* m_worker = nullptr;
};
