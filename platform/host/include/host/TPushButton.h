// A button of the console.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"

#include <QtCore/QPoint>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtWidgets/QAbstractButton>

// Backgrounds have the names of the host's theme: "NewStandardButton", "NewDisabledButton", and
// "NewStandardButtonSelected" for a button that is pressed. Main thread.
class CONSOLEHOST_EXPORT TPushButton : public QAbstractButton, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    // A single button. `style` 0 is the standard style.
    TPushButton(QWidget* parent, const QString& caption, const QSize& size, const QPoint& position,
                int style, const QString& toolTip);
    // A button of a group. `id` tells the group's buttons apart.
    TPushButton(QWidget* parent, const QString& caption, const QString& background,
                const QString& selectedBackground, int id, const QString& toolTip);
    ~TPushButton() override;

    void SetBackground(const QString& name);
    void SetSelectedBackground(const QString& name);
    void SetDisabledBackground(const QString& name);
    const QString& DisabledBackground() const { return m_disabledBackground; }

    // `untranslated` names the button in every language.
    void SetCaption(const QString& translated, const QString& untranslated);
    const QString& UntranslatedCaption() const { return m_untranslatedCaption; }
    void SetToolTip(const QString& toolTip);
    int Id() const { return m_id; }

    bool OnWheelPressed() override;
    QSize sizeHint() const override;

Q_SIGNALS:
    // Emitted after clicked(), with the button's id.
    void Clicked(int id);

protected:
    // A locked button can neither be hit nor be pressed by a key.
    bool hitButton(const QPoint& position) const override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void Init(const QString& toolTip);
    void Name();

    QString m_background;
    QString m_selectedBackground;
    QString m_disabledBackground;
    QString m_untranslatedCaption;
    QSize m_size;
    int m_id = -1;
};
