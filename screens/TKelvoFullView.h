// The plug-in's full-size surface: the frame around the file controller.
#pragma once

#include "host/AppWindowSurface.h"

#include <QtWidgets/QVBoxLayout>

class TKelvoFileControlWidget;

// Main thread. Owned by the window manager once it was handed over. The file controller exists from
// the start and is built in Setup(), so that nothing of it is there before the surface is needed.
class TKelvoFullView : public ZRA::AppWindowSurface
{
    Q_OBJECT

public:
    explicit TKelvoFullView(QWidget* parent);
    ~TKelvoFullView() override;

    // The title is set here, not in the constructor.
    void Setup() override;

private:
    TKelvoFileControlWidget* m_fileControlWidget = nullptr;
    QVBoxLayout m_layout;
};
