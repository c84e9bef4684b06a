// Subcommands - what main() offers: one source each. A subcommand declares its options on the
// parser; its callback stores the exit code.
#pragma once

#include <CLI/CLI.hpp>

namespace command {

constexpr int kExitDone = 0;
constexpr int kExitFailed =
    1;  // the job failed, the file is damaged, the verification found something
constexpr int kExitUsage = 2;

/// odaxgen CONFIG: runs a job. @return the exit code
int runJobOf(const std::string& config);
/// odaxgen run CONFIG...
void addRun(CLI::App& app, int& exitCode);
/// odaxgen check CONFIG...
void addCheck(CLI::App& app, int& exitCode);
/// odaxgen inspect FILE
void addInspect(CLI::App& app, int& exitCode);
/// odaxgen verify CONFIG [FILE]
void addVerify(CLI::App& app, int& exitCode);
/// odaxgen render FILE -o FOLDER
void addRender(CLI::App& app, int& exitCode);
/// odaxgen explain CODE
void addExplain(CLI::App& app, int& exitCode);
/// odaxgen init FOLDER
void addInit(CLI::App& app, int& exitCode);

}  // namespace command
