// A fresh folder for a test, gone with it.
#pragma once

#include "platform/platform.h"
#include "tools/read_file.h"

#include <filesystem>
#include <fstream>
#include <string>

class Folder
{
public:
    Folder()
    {
        static int made = 0;
        std::string name =
            "vantel-" + std::to_string(vantel::platformProcessId()) + "-" + std::to_string(made++);
        folder_ = std::filesystem::temp_directory_path() / name;
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    std::string path() const { return folder_.generic_string(); }
    // The path of a file of this name, which need not be there.
    std::string operator/(const std::string &name) const { return path() + "/" + name; }
    std::string write(const std::string &name, const std::string &bytes) const
    {
        std::ofstream{*this / name, std::ios::binary} << bytes;
        return *this / name;
    }
    std::string read(const std::string &name) const // "" when there is none
    {
        std::string bytes;
        vantel::readFile(*this / name, &bytes);
        return bytes;
    }

private:
    std::filesystem::path folder_;
};
