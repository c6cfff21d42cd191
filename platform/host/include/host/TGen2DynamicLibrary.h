// Base of a plug-in's root object.
#pragma once

#include "host/TGen2Component.h"

class QWidget;

// The root object of a library that the host loads at run time. Lives on the main thread.
class CONSOLEHOST_EXPORT TGen2DynamicLibrary : public TGen2Component
{
public:
    // `parentWidget` is the host's main widget, or null; not owned.
    explicit TGen2DynamicLibrary(QWidget* parentWidget);
    ~TGen2DynamicLibrary() override;

    void InitialiseSettings() override;

    // Builds the plug-in's screens and registers them with the window manager. The host calls
    // CreateScreens() on the main thread after Initialise().
    virtual void CreateScreens();

protected:
    QWidget* ParentWidget() const { return m_parentWidget; }

private:
    QWidget* m_parentWidget;
};
