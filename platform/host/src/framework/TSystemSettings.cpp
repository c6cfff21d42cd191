// Settings that never change. They are constant-initialised, so that constructors of other
// libraries' statics already see them.
#include "host/TSystemSettings.h"

// A keyword only from C++20 on.
#ifdef __clang__
#define CONSTANT_INITIALISED [[clang::require_constant_initialization]]
#else
#define CONSTANT_INITIALISED __constinit
#endif

namespace {

constexpr int SUFFIX_LENGTH = 4;

// As QStringLiteral lays a string out, which cannot be used here: it is no constant expression.
struct TStaticText
{
    QStringData header;
    char16_t text[SUFFIX_LENGTH + 1];
};

const TStaticText ZIP_SUFFIX = {{Q_STATIC_STRING_DATA_HEADER_INITIALIZER(SUFFIX_LENGTH)}, u".zip"};
const TStaticText ZIP2_SUFFIX = {{Q_STATIC_STRING_DATA_HEADER_INITIALIZER(SUFFIX_LENGTH)}, u".ZIP"};

// Nobody writes to it: its reference count marks it as static.
constexpr QStringDataPtr Shared(const TStaticText& text)
{
    return {const_cast<QStringData*>(&text.header)};
}

} // namespace

CONSTANT_INITIALISED const QString TSystemSettings::ZIPExtension{Shared(ZIP_SUFFIX)};
CONSTANT_INITIALISED const QString TSystemSettings::ZIP2Extension{Shared(ZIP2_SUFFIX)};
