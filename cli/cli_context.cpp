#include "cli_context.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <ostream>

namespace qv::cli {

CliContext::CliContext(std::ostream& out, std::ostream& err, bool errIsTerminal)
    : out(out)
    , err(err)
    , errIsTerminal(errIsTerminal)
{
}

Database& CliContext::database()
{
    if (!_database) {
        const auto path = databasePath.empty() ? defaultDatabasePath() : databasePath;
        try {
            // Only a large index that lacks the search indexes reports: building them
            // is a one-time wait of a few seconds.
            _database = std::make_unique<Database>(path, [this](int done, int total) {
                if (done < total) {
                    err << "Preparing the search indexes (" << done + 1 << " of " << total << ")..." << std::endl;
                }
            });
        } catch (const std::exception& error) {
            throw UserError("Cannot open the index " + path.string() + ": " + error.what());
        }
    }
    return *_database;
}

void CliContext::printJson(const nlohmann::ordered_json& document) const
{
    out << document.dump(2) << '\n';
}

std::filesystem::path defaultDatabasePath()
{
    std::filesystem::path base;
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data) {
        base = data;
    } else if (const char* home = std::getenv("HOME"); home && *home) {
        base = std::filesystem::path(home) / ".local/share";
    } else {
        throw UserError("Neither XDG_DATA_HOME nor HOME is set; pass --db PATH");
    }
    return base / "Ostrelle" / "Quorvalinder" / "quorvalinder.db";
}

} // namespace qv::cli
