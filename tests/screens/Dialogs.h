// Finds the dialogs of the screens.
#pragma once

#include "host/TMessageDialog.h"
#include "host/TProgressDialog.h"
#include "host/TPushButton.h"
#include "hostimpl/PopupHost.h"

#include <QtWidgets/QApplication>

// Null if there is no such dialog.
template <typename TDialog>
TDialog* DialogTitled(const QString& title)
{
    for (QWidget* widget : QApplication::allWidgets()) {
        auto* const dialog = qobject_cast<TDialog*>(widget);
        if (dialog != nullptr && dialog->Title() == title)
            return dialog;
    }
    return nullptr;
}

// Whether the dialog keeps the operator from using `widget`.
inline bool Blocks(const TPopupWindow& dialog, const QWidget& widget)
{
    return dialog.isVisible() && (dialog.isModal() || hostimpl::IsBlocked(widget));
}

inline bool IsEnabled(const TMessageDialog& dialog, TMessageDialog::EMessageDialogButton button)
{
    return dialog.GetMessageDialogButton(button)->isEnabled();
}

// Presses a button as the operator does.
inline void Press(const TMessageDialog& dialog, TMessageDialog::EMessageDialogButton button)
{
    dialog.GetMessageDialogButton(button)->click();
}
