// Unpacks one archive like the console, for bench/unpacking and test_unpacking_order.py.
//
// Usage: unpack_once ARCHIVE FOLDER
#include "host/TFileSystemHelper.h"

#include <QtCore/QFile>

#include <cstdio>

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3) {
        std::fputs("usage: unpack_once ARCHIVE FOLDER\n", stderr);
        return 2;
    }
    QString errorText;
    if (TFileSystemHelper::Unzip(QFile::decodeName(arguments[1]), QFile::decodeName(arguments[2]),
                                 errorText)) {
        return 0;
    }
    std::fprintf(stderr, "%s\n", qUtf8Printable(errorText));
    return 1;
}
