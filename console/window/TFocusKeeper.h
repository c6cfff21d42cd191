// Keeps the focus where the operator works when the focused widget is disabled or hidden.
#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

namespace console {

// Thread: main.
class TFocusKeeper : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // The focused widget `lost` was disabled or hidden. Moves the focus to a neighbour in `region`,
    // or to `region` itself. When `lost` can take the focus again, and the operator has not moved
    // the focus, `lost` gets it back.
    void Keep(QWidget& lost, QWidget& region);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Forget();

    QPointer<QWidget> m_lost;
    QPointer<QWidget> m_neighbour; // has the focus instead
};

} // namespace console
