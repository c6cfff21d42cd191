// The login panel with a hub.
#pragma once

#include "tests/screens/THubFixture.h"

#include "host/TProperty.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "screens/TKelvoMiniView.h"

class TMiniViewFixture : public THubFixture
{
public:
    explicit TMiniViewFixture(QWidget* parent = nullptr) : view(parent, levels) {}

    TPropertyWidget& UserName() const { return *Rows().at(0); }
    TPropertyWidget& Password() const { return *Rows().at(1); }
    TProperty& Status() const { return *Child<TProperty>(); }
    TPushButton& Button() const { return *Child<TPushButton>(); }

    TKelvoMiniView view;

private:
    QList<TPropertyWidget*> Rows() const
    {
        return view.findChildren<TPropertyWidget*>(QString(), Qt::FindDirectChildrenOnly);
    }
    template <typename T>
    T* Child() const
    {
        return view.findChild<T*>(QString(), Qt::FindDirectChildrenOnly);
    }
};
