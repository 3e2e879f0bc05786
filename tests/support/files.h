// Whole files as bytes, the counterpart of testkit::writeFile.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace qv::test {

// Empty when the file cannot be read.
inline std::string readFile(const std::filesystem::path& path)
{
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

} // namespace qv::test
