// A small built page.
#pragma once

#include "service/base/Files.h"
#include "tests/support/TempFolder.h"

#include <filesystem>

namespace kelvo::test {

class PageFolder
{
public:
    PageFolder()
    {
        std::filesystem::create_directory(path() / "assets");
        replaceFile(path() / "index.html", "<p>page", 0600);
        replaceFile(path() / "assets/main-1a2b.js", "plain script", 0600);
        replaceFile(path() / "assets/main-1a2b.js.br", "brotli script", 0600);
        replaceFile(path() / "assets/main-1a2b.js.gz", "gzip script", 0600);
    }

    std::filesystem::path path() const { return folder_.Path(); }

private:
    TempFolder folder_;
};

} // namespace kelvo::test
