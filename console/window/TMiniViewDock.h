// The column in which mini views stand one below the other.
#pragma once

#include <QtCore/QList>
#include <QtWidgets/QWidget>

class QVBoxLayout;

namespace console {

// Owns none of the views: it gives them a parent and lets go of them in Remove().
//
// Thread: main.
class TMiniViewDock : public QWidget
{
    Q_OBJECT

public:
    static constexpr int dockWidth = 360;

    explicit TMiniViewDock(QWidget* parent = nullptr);
    // Removes what is still there.
    ~TMiniViewDock() override;

    // Shows the view below those that are there.
    void Add(QWidget* view);
    // Hides the view and gives it back without a parent. Nothing happens for one that is not there.
    void Remove(QWidget* view);
    bool Contains(QWidget* view) const { return m_views.contains(view); }
    bool IsEmpty() const { return m_views.isEmpty(); }

Q_SIGNALS:
    // A view has come or gone.
    void Changed();

private:
    QWidget* m_column;
    QVBoxLayout* m_layout;
    QList<QWidget*> m_views;
};

} // namespace console
