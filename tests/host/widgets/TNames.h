// A list of names in a visible window.
#pragma once

#include "host/TListWidget.h"
#include "host/TWindow.h"
#include "widgets/TListHead.h"
#include "widgets/TNameBand.h"

#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

inline QStringList Numbered(int count)
{
    QStringList names;
    for (int index = 0; index < count; ++index) {
        names.append(QStringLiteral("name %1").arg(index));
    }
    return names;
}

// The list has the same settings as the lists of the screens.
struct TNames
{
    explicit TNames(const QStringList& names)
        : list(&window), changes(&list, &QListWidget::itemSelectionChanged)
    {
        list.setSelectionMode(QAbstractItemView::MultiSelection);
        for (const QString& name : names) {
            list.AddString(name, 30, 0, QIcon());
        }
        window.resize(500, 400);
        list.resize(500, 400);
        window.show();
    }

    void Click(int row)
    {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier,
                          list.visualItemRect(list.item(row)).center());
    }

    // In the list's coordinates.
    QRect RowOf(int row) const
    {
        return list.visualItemRect(list.item(row)).translated(list.viewport()->pos());
    }

    TNameBand& Band() { return *list.findChild<TNameBand*>(); }

    TWindow window;
    TListWidget list;
    QSignalSpy changes;
};
