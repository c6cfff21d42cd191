#include "plugin/TKelvoDll.h"

#include "core/TKelvoInterface.h"
#include "host/TWindowManagerApi.h"
#include "plugin/ApplicationUuid.h"
#include "worker/TKelvoThreadObject.h"

#include <memory>

TKelvoDll::TKelvoDll(QWidget* parentWidget, const TGPSCoordinator* gpsCoordinator,
                     const TAppFeatures& features, const QString& hostString)
    : TGen2DynamicLibrary(parentWidget)
{
    // The hub comes first, because the worker connects to it as soon as its thread runs. The worker
    // deletes the hub. If the worker cannot be created, the hub is deleted here.
    auto hub = std::make_unique<TKelvoInterface>();
    KelvoInterface = hub.get();
    try {
        m_worker = new TKelvoThreadObject(gpsCoordinator, features, hostString);
    } catch (...) {
        KelvoInterface = nullptr;
        throw;
    }
    static_cast<void>(hub.release());
}

TKelvoDll::~TKelvoDll() = default;

void TKelvoDll::Initialise()
{
    TGen2Component::Initialise();
    m_worker->start(QThread::LowestPriority);
}

// The order is part of the contract: no screen may outlive the hub, and the worker deletes the hub.
void TKelvoDll::Finalise()
{
    TWindowManagerApi::Instance().RemoveWindowSurfaces(ZRA::OrvaleID(APPLICATION_UUID));
    m_worker->Stop();
    m_worker->wait();
    delete m_worker;
    m_worker = nullptr;
    TGen2Component::Finalise();
}
