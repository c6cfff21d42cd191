#include "host/TGPSCoordinator.h"

TGPSCoordinator::TGPSCoordinator(QObject* parent) : QObject(parent) {}

TGPSCoordinator::~TGPSCoordinator() = default;

TGPSFix TGPSCoordinator::GetCurrentFix() const
{
    const QMutexLocker lock(&m_mutex);
    return m_fix;
}

void TGPSCoordinator::SetCurrentFix(const TGPSFix& fix)
{
    const QMutexLocker lock(&m_mutex);
    m_fix = fix;
}
