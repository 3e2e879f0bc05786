// Runs the built quorvalinder-cli in a subprocess against one index file, as a user would,
// and keeps its exit status, standard output and standard error.
#pragma once

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace qv::test {

struct CliRun {
    int status = -1;
    std::string out;
    std::string err;
};

inline std::string shellQuoted(const std::string& text)
{
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

inline std::string readAll(FILE* file)
{
    std::string text;
    std::array<char, 4096> buffer{};
    for (std::size_t n; (n = std::fread(buffer.data(), 1, buffer.size(), file)) > 0;) text.append(buffer.data(), n);
    return text;
}

// `scratch` is a folder the run may write its standard error into.
inline CliRun runCli(const std::filesystem::path& db, const std::vector<std::string>& args,
                     const std::filesystem::path& scratch)
{
    std::string command = shellQuoted(QV_CLI_PATH) + " --db " + shellQuoted(db.string());
    for (const auto& arg : args) command += " " + shellQuoted(arg);
    const auto errFile = scratch / "stderr.txt";
    command += " 2>" + shellQuoted(errFile.string());
    CliRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    run.out = readAll(pipe);
    run.status = WEXITSTATUS(::pclose(pipe));
    if (FILE* err = std::fopen(errFile.c_str(), "r")) {
        run.err = readAll(err);
        std::fclose(err);
    }
    return run;
}

} // namespace qv::test
