// The id under which an application registers with the window manager.
#pragma once

#include <QtCore/QUuid>

namespace ZRA {

class OrvaleID
{
public:
    explicit OrvaleID(const QUuid& uuid) : m_uuid(uuid) {}

    const QUuid& Uuid() const { return m_uuid; }

    friend bool operator==(const OrvaleID& a, const OrvaleID& b) { return a.m_uuid == b.m_uuid; }
    friend bool operator!=(const OrvaleID& a, const OrvaleID& b) { return !(a == b); }

private:
    QUuid m_uuid;
};

} // namespace ZRA
