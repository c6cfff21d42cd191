// A large button with an icon above its name.
#pragma once

#include "host/MMICapableWidget.h"

#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtWidgets/QAbstractButton>

namespace console {

// The icon comes from the theme of the host framework and changes with the theme. A checked button
// belongs to the shown page.
//
// Thread: main.
class TIconButton : public QAbstractButton, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    TIconButton(const QString& iconName, const QString& caption, QWidget* parent = nullptr);

    void SetIconName(const QString& iconName);
    const QString& IconName() const { return m_iconName; }

    // Shows a number in the upper right corner; 0 shows none. Above 99 it shows "99+".
    void SetBadge(int number);
    int Badge() const { return m_badge; }

    bool OnWheelPressed() override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void DrawBadge(QPainter& painter, const QColor& ground, const QColor& ink) const;

    QString m_iconName;
    int m_badge = 0;
};

} // namespace console
