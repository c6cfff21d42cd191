// The column in which mini views stand one below the other.
#pragma once

#include <QtCore/QHash>
#include <QtWidgets/QWidget>

class QVBoxLayout;

namespace console {

// Owns none of the views: it gives each a place of its own, where the view is at (0, 0) of its
// parent, and lets go of it in Remove().
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
    bool Contains(QWidget* view) const { return m_places.contains(view); }
    bool IsEmpty() const { return m_places.isEmpty(); }

Q_SIGNALS:
    // A view has come or gone.
    void Changed();

private:
    void Forget(QObject* view);

    QWidget* m_column;
    QVBoxLayout* m_layout;
    QHash<QObject*, QWidget*> m_places; // by view
};

} // namespace console
