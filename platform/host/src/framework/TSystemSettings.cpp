// The settings are constant-initialised, so that constructors of static objects in other libraries
// can already read them.
#include "host/TSystemSettings.h"

// constinit is a keyword only from C++20 on.
#ifdef __clang__
#define CONSTANT_INITIALISED [[clang::require_constant_initialization]]
#else
#define CONSTANT_INITIALISED __constinit
#endif

namespace {

constexpr int SUFFIX_LENGTH = 4;

// The memory layout of a QStringLiteral. QStringLiteral itself is no constant expression.
struct TStaticText
{
    QStringData header;
    char16_t text[SUFFIX_LENGTH + 1];
};

const TStaticText ZIP_SUFFIX = {{Q_STATIC_STRING_DATA_HEADER_INITIALIZER(SUFFIX_LENGTH)}, u".zip"};
const TStaticText ZIP2_SUFFIX = {{Q_STATIC_STRING_DATA_HEADER_INITIALIZER(SUFFIX_LENGTH)}, u".ZIP"};

// The const_cast is safe: the reference count marks the string as static, so Qt never writes to it.
constexpr QStringDataPtr Shared(const TStaticText& text)
{
    return {const_cast<QStringData*>(&text.header)};
}

} // namespace

CONSTANT_INITIALISED const QString TSystemSettings::ZIPExtension{Shared(ZIP_SUFFIX)};
CONSTANT_INITIALISED const QString TSystemSettings::ZIP2Extension{Shared(ZIP2_SUFFIX)};
