#pragma once
// The report tool's command line: options before the command, the command
// and its operands, checked against the table of commands.

#include <cstdint>
#include <string>
#include <vector>

struct ReportOptions {
    std::vector<std::string> driveFiles;  // each --drive, in the order given
    std::vector<std::string> driveFolders;  // each --drives
    std::string device;                   // --device, empty when absent
    bool json = false;
    bool stats = false;
    std::string command;
    std::vector<std::string> operands;
    bool hasSectors = false;  // capture --sectors N
    uint32_t sectors = 0;
};

enum class CommandLineOutcome {
    Run,         // `options` is complete
    Help,        // `text` is the help to print on standard output
    UsageError,  // `text` is one line naming what is wrong
};

CommandLineOutcome ParseReportCommandLine(int argc, const char* const* argv, ReportOptions& options,
                                          std::string& text);

// The whole --help text, and the help of one command ("" when unknown).
const std::string& ReportHelpText();
std::string CommandHelpText(const std::string& command);

// Exit statuses, as --help documents them.
constexpr int kExitOk = 0;
constexpr int kExitDriveFailed = 1;
constexpr int kExitUsage = 2;
