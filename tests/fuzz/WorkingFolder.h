// A working folder for one input. libFuzzer finds its corpus by paths relative to the folder that
// it was started in, so each input has to leave that folder as the current one.
#pragma once

#include <filesystem>

class TWorkingFolder
{
public:
    explicit TWorkingFolder(const std::filesystem::path& folder)
        : m_before(std::filesystem::current_path())
    {
        std::filesystem::current_path(folder);
    }
    ~TWorkingFolder() { std::filesystem::current_path(m_before); }
    TWorkingFolder(const TWorkingFolder&) = delete;
    TWorkingFolder& operator=(const TWorkingFolder&) = delete;

private:
    std::filesystem::path m_before;
};
