// What every command of quorvalinder-cli shares: output mode and streams, and the index,
// opened on first use so that `--help` and argument errors never touch the database.
#pragma once

#include "db/database.h"

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <stdexcept>

namespace qv::cli {

// A mistake of the caller (bad argument, missing folder): exit status 1, one line.
class UserError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct CliContext {
    CliContext(std::ostream& out, std::ostream& err, bool errIsTerminal);

    Database& database();
    void printJson(const nlohmann::ordered_json& document) const;

    bool json = false;
    std::filesystem::path databasePath;
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal;
    int exitStatus = 0; // a command that printed its own failure sets this

private:
    std::unique_ptr<Database> _database;
};

// ~/.local/share/Ostrelle/Quorvalinder/quorvalinder.db, honouring XDG_DATA_HOME: the
// file the application uses.
std::filesystem::path defaultDatabasePath();

} // namespace qv::cli
