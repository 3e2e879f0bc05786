// quorvalinder-cli: the index from a terminal.
//
// Exit status: 0 success, 1 a user error (one line on stderr), 2 an internal error.
#include "cli_context.h"
#include "commands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <unistd.h>

int main(int argc, char** argv)
{
    using qv::cli::CliContext;
    CliContext context(std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1);

    CLI::App app{"Quorvalinder's sample index from the terminal.", "quorvalinder-cli"};
    app.require_subcommand(1);
    // Global options (--json, --db) may also follow the command word.
    app.fallthrough();
    app.add_flag("--json", context.json, "Print one JSON document on stdout");
    app.add_option("--db", context.databasePath, "Index database to use instead of the application's");
    qv::cli::addScanCommand(app, context);
    qv::cli::addLibraryCommands(app, context);
    qv::cli::addInspectCommand(app, context);
    qv::cli::addSearchCommands(app, context);
    qv::cli::addEditCommands(app, context);
    qv::cli::addPlaylistCommands(app, context);
    qv::cli::addPeaksCommand(app, context);

    try {
        // CLI11 would only say that a command is required; name the word it did not know.
        for (int i = 1; i < argc; ++i) {
            const std::string word = argv[i];
            if (word == "--db") {
                ++i;
                continue;
            }
            if (word.starts_with("-")) continue;
            const auto commands = app.get_subcommands({});
            const bool known = std::any_of(commands.begin(), commands.end(),
                                           [&](const CLI::App* command) { return command->check_name(word); });
            if (!known) {
                std::cerr << "quorvalinder-cli: unknown command '" << word << "' (try --help)\n";
                return 1;
            }
            break;
        }
        app.parse(argc, argv);
        return context.exitStatus;
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return 0;
    } catch (const CLI::CallForAllHelp&) {
        std::cout << app.help("", CLI::AppFormatMode::All);
        return 0;
    } catch (const CLI::ParseError& error) {
        std::cerr << "quorvalinder-cli: " << error.what() << '\n';
        return 1;
    } catch (const std::runtime_error& error) {
        // User mistakes and the core's own messages (which are written for users).
        std::cerr << "quorvalinder-cli: " << error.what() << '\n';
        return 1;
    } catch (const std::exception& error) {
        std::cerr << "quorvalinder-cli: internal error: " << error.what() << '\n';
        return 2;
    } catch (...) {
        std::cerr << "quorvalinder-cli: internal error\n";
        return 2;
    }
}
