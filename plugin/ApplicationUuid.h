// The UUID under which the window manager knows the plug-in.
#pragma once

#include <QtCore/QUuid>

// 9e5b9e35-77b2-4f19-acaa-5ce817b88895. The plug-in registers and removes its screens with it.
constexpr QUuid APPLICATION_UUID(0x9e5b9e35, 0x77b2, 0x4f19, 0xac, 0xaa, 0x5c, 0xe8, 0x17, 0xb8,
                                 0x88, 0x95);
