// A depth-first walk of a library folder in the order the system lists it (each folder's
// entries before the next of its siblings), for the scanner: each entry's full path and
// type from the listing, and a file's size and time asked relative to its folder's open
// handle, so that the system resolves one name instead of the whole path, as `find`
// does. Links to folders are not followed. One thread.
//
// Where the platform has no folder handles the walk is std::filesystem's, with the same
// order and errors.
#pragma once

#include "scan/file_time.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace qv {

class FolderWalk {
public:
    // `error` is set when the root cannot be listed.
    FolderWalk(const std::filesystem::path& root, std::error_code& error);
    ~FolderWalk();
    FolderWalk(const FolderWalk&) = delete;
    FolderWalk& operator=(const FolderWalk&) = delete;

    // Moves to the next entry, folders included; false at the end, or with `error` set
    // when a folder could not be listed (the walk is then incomplete).
    bool next(std::error_code& error);

    // The entry's path as the index stores it, and its last component.
    const std::string& pathText() const { return _text; }
    std::string_view name() const { return std::string_view(_text).substr(_nameAt); }
    // The same path as an object, made when first asked for (most files of a rescan never are).
    const std::filesystem::path& path() const;
    // The entry's own type: a link is a symlink, whatever it points to.
    std::filesystem::file_type type(std::error_code& error) const;
    // Follows a link, as fileSizeAndTime does.
    std::optional<FileSizeAndTime> sizeAndTime(std::error_code& error) const;

private:
    struct State;
    std::unique_ptr<State> _state;
    std::string _text;
    std::size_t _nameAt = 0;
    mutable std::optional<std::filesystem::path> _path;
};

} // namespace qv
