// A surface that counts its calls.
#pragma once

#include "host/AppWindowSurface.h"

#include <stdexcept>

class TSampleSurface : public ZRA::AppWindowSurface
{
public:
    explicit TSampleSurface(const QString& title = QStringLiteral("Sample"),
                            const QSize& size = QSize(0, 0))
    {
        SetSurfaceIcon(QStringLiteral("NavKelvo"));
        SetSurfaceTitle(title, false, false);
        setMinimumSize(size);
    }

    void Setup() override
    {
        AppWindowSurface::Setup();
        ++setUps;
        wasShownBefore = wasShownBefore || isVisible();
        if (throws) {
            throw std::runtime_error("no room");
        }
    }
    bool IsAvailable() const override { return isAvailable; }

    int setUps = 0;
    bool wasShownBefore = false; // Setup() came too late
    bool isAvailable = true;
    bool throws = false;
};
