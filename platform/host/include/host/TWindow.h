// A part of a screen, with a title and a content.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"
#include "host/TLockingWidget.h"

#include <QtCore/QString>
#include <QtWidgets/QWidget>

// Installs no layout; the derived class installs one. Main thread. The order of the virtual
// functions is part of the contract: the window's own follow those of its bases.
class CONSOLEHOST_EXPORT TWindow : public QWidget,
                                   public ZRA::MMICapableWidget,
                                   public TLockingWidget
{
    Q_OBJECT

public:
    explicit TWindow(QWidget* parent = nullptr);
    ~TWindow() override;

    // Called once, before the window is first shown. An override first calls the base class's
    // Setup().
    virtual void Setup();
    virtual void SetTitle(const QString& title);
    const QString& Title() const { return m_title; }

    // The parent for the derived class's widgets.
    QWidget* ContentWidget() { return this; }

    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;
    void SetLocked(bool isLocked) override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    QString m_title;
};
