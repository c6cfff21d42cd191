// The word for a value of an enumeration in the console's output.
#pragma once

#include <QtCore/QLatin1String>
#include <QtCore/QString>

#include <array>
#include <cstddef>

// `names` has a word for each value, in the order of the values.
template <std::size_t count, typename TEnum>
QString EnumName(const std::array<QLatin1String, count>& names, TEnum value)
{
    return names.at(static_cast<std::size_t>(value));
}
