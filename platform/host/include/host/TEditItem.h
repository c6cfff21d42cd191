// The value that a property widget edits: a number within limits, or one of several choices.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>
#include <QtCore/QVector>

// A list that returns its default for an index that was never set. Set() enlarges the list.
template <typename T>
class TEditContainer
{
public:
    explicit TEditContainer(T defaultValue = T()) : m_default(defaultValue) {}

    int Size() const { return m_values.size(); }
    T At(int index) const { return m_values.value(index, m_default); }
    // A negative index is ignored.
    void Set(int index, const T& value)
    {
        if (index < 0) {
            return;
        }
        while (m_values.size() <= index) {
            m_values.append(m_default);
        }
        m_values[index] = value;
    }
    void Append(const T& value) { m_values.append(value); }
    void Clear() { m_values.clear(); }

private:
    QVector<T> m_values;
    T m_default;
};

class CONSOLEHOST_EXPORT TEditContainerQString : public TEditContainer<QString>
{
public:
    using TEditContainer::TEditContainer;
};

// Tells for each choice if it is offered. The default is true.
class CONSOLEHOST_EXPORT TEditContainerBool : public TEditContainer<bool>
{
public:
    TEditContainerBool() : TEditContainer(true) {}
};

struct TEditItem
{
    QString text;
    QString unit;
    double value = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    double step = 1.0;
    TEditContainerQString options;     // labels of the choices, by value
    TEditContainerBool optionsEnabled; // which choices are offered
    bool doesWrap = false;             // a step beyond the last choice leads to the first choice
};
