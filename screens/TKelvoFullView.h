// The plug-in's full-size surface: the frame around the file controller.
#pragma once

#include "host/AppWindowSurface.h"

#include <QtWidgets/QVBoxLayout>

class TKelvoFileControlWidget;

// Main thread. The window manager owns the surface after its registration. The constructor creates
// the file controller. Setup() builds its content, which is not needed earlier.
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
