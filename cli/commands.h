// The subcommands of quorvalinder-cli, each registered on the application with its
// options and a callback that runs it against the shared context.
#pragma once

namespace CLI {
class App;
}

namespace qv::cli {

struct CliContext;

void addScanCommand(CLI::App& app, CliContext& context);
void addLibraryCommands(CLI::App& app, CliContext& context);
void addInspectCommand(CLI::App& app, CliContext& context);
void addSearchCommands(CLI::App& app, CliContext& context);
void addEditCommands(CLI::App& app, CliContext& context);
void addPlaylistCommands(CLI::App& app, CliContext& context);
void addPeaksCommand(CLI::App& app, CliContext& context);

} // namespace qv::cli
