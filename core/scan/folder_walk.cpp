#include "scan/folder_walk.h"

#if defined(__unix__) || defined(__APPLE__)
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#endif

namespace qv {

namespace fs = std::filesystem;

#if defined(__unix__) || defined(__APPLE__)

namespace {

fs::file_type typeOfMode(mode_t mode)
{
    if (S_ISREG(mode)) return fs::file_type::regular;
    if (S_ISDIR(mode)) return fs::file_type::directory;
    if (S_ISLNK(mode)) return fs::file_type::symlink;
    if (S_ISBLK(mode)) return fs::file_type::block;
    if (S_ISCHR(mode)) return fs::file_type::character;
    if (S_ISFIFO(mode)) return fs::file_type::fifo;
    if (S_ISSOCK(mode)) return fs::file_type::socket;
    return fs::file_type::unknown;
}

fs::file_type typeOfListing(unsigned char type)
{
    switch (type) {
    case DT_REG: return fs::file_type::regular;
    case DT_DIR: return fs::file_type::directory;
    case DT_LNK: return fs::file_type::symlink;
    case DT_BLK: return fs::file_type::block;
    case DT_CHR: return fs::file_type::character;
    case DT_FIFO: return fs::file_type::fifo;
    case DT_SOCK: return fs::file_type::socket;
    default: return fs::file_type::none; // the listing does not say
    }
}

} // namespace

struct FolderWalk::State {
    struct Level {
        DIR* folder;
        std::size_t pathLength; // of the folder's path, without a trailing '/'
    };
    std::vector<Level> levels;
    fs::file_type listed = fs::file_type::none;

    ~State()
    {
        for (const Level& level : levels) ::closedir(level.folder);
    }

    int handle() const { return ::dirfd(levels.back().folder); }

    bool open(int parent, const char* name, std::size_t pathLength, std::error_code& error)
    {
        const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;
        const int handle = parent < 0 ? ::open(name, flags & ~O_NOFOLLOW) : ::openat(parent, name, flags);
        DIR* folder = handle < 0 ? nullptr : ::fdopendir(handle);
        if (!folder) {
            error.assign(errno, std::generic_category());
            if (handle >= 0) ::close(handle);
            return false;
        }
        levels.push_back({folder, pathLength});
        return true;
    }
};

FolderWalk::FolderWalk(const fs::path& root, std::error_code& error)
    : _state(std::make_unique<State>())
{
    error.clear();
    _text = root.native();
    while (_text.size() > 1 && _text.back() == '/') _text.pop_back();
    _state->open(-1, _text.c_str(), _text == "/" ? 0 : _text.size(), error);
}

FolderWalk::~FolderWalk() = default;

bool FolderWalk::next(std::error_code& error)
{
    error.clear();
    State& state = *_state;
    _path.reset();
    // The folder just returned is entered before its siblings are read.
    if (state.listed == fs::file_type::directory) {
        state.listed = fs::file_type::none;
        if (!state.open(state.handle(), _text.c_str() + _nameAt, _text.size(), error)) return false;
    }
    while (!state.levels.empty()) {
        errno = 0;
        const dirent* entry = ::readdir(state.levels.back().folder);
        if (!entry) {
            if (errno != 0) {
                error.assign(errno, std::generic_category());
                return false;
            }
            ::closedir(state.levels.back().folder);
            state.levels.pop_back();
            continue;
        }
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
        _text.resize(state.levels.back().pathLength);
        _text += '/';
        _nameAt = _text.size();
        _text += entry->d_name;
        state.listed = typeOfListing(entry->d_type);
        if (state.listed == fs::file_type::none) state.listed = type(error);
        if (error) {
            // Gone since it was listed: passed over, as the scanner passes over dangling links.
            if (error != std::errc::no_such_file_or_directory) return false;
            error.clear();
            state.listed = fs::file_type::none;
            continue;
        }
        return true;
    }
    return false;
}

fs::file_type FolderWalk::type(std::error_code& error) const
{
    error.clear();
    if (_state->listed != fs::file_type::none) return _state->listed;
    struct stat status {};
    if (::fstatat(_state->handle(), _text.c_str() + _nameAt, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        error.assign(errno, std::generic_category());
        return fs::file_type::none;
    }
    return typeOfMode(status.st_mode);
}

std::optional<FileSizeAndTime> FolderWalk::sizeAndTime(std::error_code& error) const
{
    struct stat status {};
    const int result = ::fstatat(_state->handle(), _text.c_str() + _nameAt, &status, 0);
    return fileSizeAndTime(status, result, error);
}

#else

struct FolderWalk::State {
    fs::recursive_directory_iterator walk;
    bool started = false;
};

FolderWalk::FolderWalk(const fs::path& root, std::error_code& error)
    : _state(std::make_unique<State>())
{
    _state->walk = fs::recursive_directory_iterator(root, error);
}

FolderWalk::~FolderWalk() = default;

bool FolderWalk::next(std::error_code& error)
{
    error.clear();
    if (_state->started) _state->walk.increment(error);
    _state->started = true;
    if (error || _state->walk == fs::recursive_directory_iterator()) return false;
    _path = _state->walk->path();
    _text = _path->string();
    _nameAt = _text.size() - _path->filename().string().size();
    return true;
}

fs::file_type FolderWalk::type(std::error_code& error) const
{
    return _state->walk->symlink_status(error).type();
}

std::optional<FileSizeAndTime> FolderWalk::sizeAndTime(std::error_code& error) const
{
    return fileSizeAndTime(*_path, error);
}

#endif

const fs::path& FolderWalk::path() const
{
    if (!_path) _path.emplace(_text);
    return *_path;
}

} // namespace qv
