// A list with names and its head.
#pragma once

#include "TNames.h"
#include "host/TPushButton.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

inline const QStringList fields = {QStringLiteral("North 1.zip"), QStringLiteral("South.zip"),
                                   QStringLiteral("north 2.zip"),
                                   QStringLiteral("Südhang žluť.zip")};

struct THead : TNames
{
    explicit THead(const QStringList& names) : TNames(names) { UpdateHead(); }

    // The head follows a change after the change.
    static void UpdateHead() { QCoreApplication::processEvents(); }

    QWidget& Bar() { return *list.findChild<TListHead*>(); }
    QString Text() { return list.findChild<TListHead*>()->findChild<QLabel*>()->text(); }
    TPushButton& All() { return *list.findChildren<TPushButton*>().at(0); }
    TPushButton& SearchButton() { return *list.findChildren<TPushButton*>().at(1); }
    QLineEdit& Entry() { return *list.findChild<QLineEdit*>(); }

    void Search(const QString& text)
    {
        SearchButton().click();
        QTest::keyClicks(&Entry(), text);
        UpdateHead();
    }

    QStringList Shown() const
    {
        QStringList names;
        for (int row = 0; row < list.count(); ++row) {
            if (!list.isRowHidden(row)) {
                names << list.item(row)->text();
            }
        }
        return names;
    }

    QImage Picture() { return list.viewport()->grab().toImage(); }
};
