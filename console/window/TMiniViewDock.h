// The column of mini views.
#pragma once

#include <QtCore/QHash>
#include <QtWidgets/QWidget>

class QVBoxLayout;

namespace console {

// Puts each view at (0, 0) of its own parent widget. Does not own the views.
//
// Thread: main.
class TMiniViewDock : public QWidget
{
    Q_OBJECT

public:
    static constexpr int dockWidth = 360;

    explicit TMiniViewDock(QWidget* parent = nullptr);
    // Removes all views.
    ~TMiniViewDock() override;

    // Shows the view below the other views.
    void Add(QWidget* view);
    // Hides the view; it has no parent then. Does nothing for an unknown view.
    void Remove(QWidget* view);
    bool Contains(QWidget* view) const { return m_places.contains(view); }
    bool IsEmpty() const { return m_places.isEmpty(); }

Q_SIGNALS:
    // A view was added or removed.
    void Changed();

private:
    void Forget(QObject* view);

    QWidget* m_column;
    QVBoxLayout* m_layout;
    QHash<QObject*, QWidget*> m_places; // by view
};

} // namespace console
