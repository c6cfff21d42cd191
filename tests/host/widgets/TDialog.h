// A message dialog that is shown, and what it told.
#pragma once

#include "host/TMessageDialog.h"
#include "host/TPushButton.h"
#include "widgets/TBusyIndicator.h"
#include "widgets/TMessageText.h"

#include <QtTest/QtTest>

// A dialog whose signals are noted in their order, closing among them.
struct TDialog
{
    explicit TDialog(TMessageDialog::EMessageDialogType type, bool isFullScreen = false)
        : dialog(nullptr, QStringLiteral("Title"), QStringLiteral("Message"), type, isFullScreen,
                 QPixmap())
    {
        const auto note = [this](const char* what) {
            return [this, what] { told.append(QString::fromLatin1(what)); };
        };
        QObject::connect(&dialog, &TMessageDialog::Ok, &dialog, note("ok"));
        QObject::connect(&dialog, &TMessageDialog::Yes, &dialog, note("yes"));
        QObject::connect(&dialog, &TMessageDialog::No, &dialog, note("no"));
        QObject::connect(&dialog, &TMessageDialog::Cancel, &dialog, note("cancel"));
        QObject::connect(&dialog, &TPopupWindow::Closed, &dialog, note("closed"));
        dialog.ShowWindow(true);
    }

    TPushButton& Button(int index)
    {
        return *dialog.GetMessageDialogButton(
            static_cast<TMessageDialog::EMessageDialogButton>(index));
    }

    TBusyIndicator* Busy() { return dialog.findChild<TBusyIndicator*>(); }
    TMessageText& Text() { return *dialog.findChild<TMessageText*>(); }

    TMessageDialog dialog;
    QStringList told;
};
