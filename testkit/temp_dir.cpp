#include "temp_dir.h"

#include <atomic>
#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace qv::testkit {

TempDir::TempDir()
{
    static std::atomic<int> counter{0};
    std::string name = "qv test 'dir' 100%_\xC3\xA9t\xC3\xA9";
    name += " " + std::to_string(::getpid()) + "-" + std::to_string(counter++);
    _path = std::filesystem::temp_directory_path() / name;
    std::filesystem::remove_all(_path);
    std::filesystem::create_directories(_path);
}

TempDir::~TempDir()
{
    std::error_code ec;
    std::filesystem::remove_all(_path, ec);
}

void writeFile(const std::filesystem::path& path, std::string_view contents)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    if (!out) throw std::runtime_error("cannot write " + path.string());
}

} // namespace qv::testkit
