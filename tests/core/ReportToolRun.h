#pragma once
// Runs the built report tool as a user runs it and collects its output,
// standard error and exit status. Native only: under Wine a unix path
// cannot be started through popen.

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

struct ReportToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

inline std::string ShellQuoted(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

inline std::string ReadWholeFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline ReportToolRun RunReportTool(const std::string& arguments) {
    static int counter = 0;
    namespace fs = std::filesystem;
    fs::path errFile = fs::temp_directory_path() /
                       ("vexlon-tool-stderr-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
    std::string command = ShellQuoted(VEXLON_REPORT_EXE) + " " + arguments + " 2>" + ShellQuoted(errFile.string());
    ReportToolRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return run;
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) run.out.append(chunk, n);
    int status = ::pclose(pipe);
    if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
    run.err = ReadWholeFile(errFile);
    std::error_code ec;
    fs::remove(errFile, ec);
    return run;
}
#endif
