#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "report/ReportCommandLine.h"

namespace {

struct Parsed {
    CommandLineOutcome outcome;
    ReportOptions options;
    std::string text;
};

Parsed Parse(std::vector<std::string> words) {
    words.insert(words.begin(), "vexlon-report");
    std::vector<const char*> argv;
    for (const std::string& w : words) argv.push_back(w.c_str());
    Parsed p;
    p.outcome = ParseReportCommandLine(static_cast<int>(argv.size()), argv.data(), p.options, p.text);
    return p;
}

TEST(ReportCommandLine, OptionsInAnyOrderBeforeTheCommand) {
    for (auto words : {std::vector<std::string>{"--json", "--stats", "--drive", "a.drive", "media"},
                       std::vector<std::string>{"--drive", "a.drive", "--stats", "--json", "media"},
                       std::vector<std::string>{"--stats", "--drive=a.drive", "--json", "media"}}) {
        Parsed p = Parse(words);
        ASSERT_EQ(p.outcome, CommandLineOutcome::Run) << p.text;
        EXPECT_TRUE(p.options.json);
        EXPECT_TRUE(p.options.stats);
        EXPECT_EQ(p.options.driveFiles, std::vector<std::string>{"a.drive"});
        EXPECT_EQ(p.options.command, "media");
        EXPECT_TRUE(p.options.operands.empty());
    }
}

TEST(ReportCommandLine, OperandsOfEachCommand) {
    Parsed extract = Parse({"--drive", "a.drive", "extract", "/dir/file.txt", "out.txt"});
    ASSERT_EQ(extract.outcome, CommandLineOutcome::Run) << extract.text;
    EXPECT_EQ(extract.options.operands, (std::vector<std::string>{"/dir/file.txt", "out.txt"}));
    Parsed report = Parse({"--drive", "a.drive", "report", "out.txt"});
    ASSERT_EQ(report.outcome, CommandLineOutcome::Run) << report.text;
    EXPECT_EQ(report.options.operands, std::vector<std::string>{"out.txt"});
    Parsed capture = Parse({"--drive", "a.drive", "capture", "--sectors", "64", "out.drive"});
    ASSERT_EQ(capture.outcome, CommandLineOutcome::Run) << capture.text;
    EXPECT_TRUE(capture.options.hasSectors);
    EXPECT_EQ(capture.options.sectors, 64u);
    EXPECT_EQ(capture.options.operands, std::vector<std::string>{"out.drive"});
}

TEST(ReportCommandLine, DrivesTakesManyDrivesAndFolders) {
    Parsed p = Parse({"--drive", "a.drive", "--drives", "folder", "--drive", "b.drive", "drives"});
    ASSERT_EQ(p.outcome, CommandLineOutcome::Run) << p.text;
    EXPECT_EQ(p.options.driveFiles, (std::vector<std::string>{"a.drive", "b.drive"}));
    EXPECT_EQ(p.options.driveFolders, std::vector<std::string>{"folder"});
}

TEST(ReportCommandLine, HelpOfTheToolAndOfOneCommand) {
    Parsed all = Parse({"--help"});
    EXPECT_EQ(all.outcome, CommandLineOutcome::Help);
    EXPECT_EQ(all.text, ReportHelpText());
    Parsed one = Parse({"--drive", "a.drive", "report", "--help"});
    EXPECT_EQ(one.outcome, CommandLineOutcome::Help);
    EXPECT_EQ(one.text.rfind("usage: vexlon-report [OPTIONS] report [OUT.txt]\n", 0), 0u) << one.text;
    EXPECT_EQ(Parse({"capture", "-h"}).text.rfind("usage: vexlon-report [OPTIONS] capture OUT.drive [--sectors N]\n", 0),
              0u);
}

TEST(ReportCommandLine, HelpDocumentsTheExitStatuses) {
    const std::string& help = ReportHelpText();
    EXPECT_NE(help.find("  0  done\n"), std::string::npos);
    EXPECT_NE(help.find("  1  the drive failed"), std::string::npos);
    EXPECT_NE(help.find("  2  usage"), std::string::npos);
    EXPECT_EQ(kExitOk, 0);
    EXPECT_EQ(kExitDriveFailed, 1);
    EXPECT_EQ(kExitUsage, 2);
}

struct BadLine {
    std::vector<std::string> words;
    const char* message;
};

TEST(ReportCommandLine, UsageErrorsNameWhatIsWrongOnOneLine) {
    const BadLine cases[] = {
        {{"--drive", "a.drive", "colours"}, "unknown command 'colours'"},
        {{"--disc", "a.drive", "ids"}, "unknown option '--disc'"},
        {{"--drive", "a.drive"}, "no command given"},
        {{"--drive"}, "--drive needs a value"},
        {{"--drive", "a.drive", "ids", "extra"}, "ids takes no operands, not 'extra'"},
        {{"--drive", "a.drive", "extract", "x"}, "extract takes PATH OUT"},
        {{"--drive", "a.drive", "dump"}, "dump takes OUT"},
        {{"--drive", "a.drive", "report", "a", "b"}, "report takes [OUT.txt], not 'b'"},
        {{"--drive", "a.drive", "sector", "x"}, "sector takes one sector number from 0 to 4294967295, not 'x'"},
        {{"--drive", "a.drive", "ids", "--json"}, "'--json' is not an option of ids: options go before the command"},
        {{"ids"}, "no drive given: use --drive FILE.drive"},
        {{"--drive", "a.drive", "--drive", "b.drive", "ids"}, "ids reads one drive; more than one was given"},
        {{"--drives", "folder", "ids"}, "--drives is for the drives command; give one --drive FILE.drive"},
        {{"--drive", "a.drive", "capture", "--sectors", "-1", "x.drive"},
         "--sectors takes a number of sectors from 0 to 4294967295"},
    };
    for (const BadLine& c : cases) {
        Parsed p = Parse(c.words);
        EXPECT_EQ(p.outcome, CommandLineOutcome::UsageError) << c.message;
        EXPECT_EQ(p.text.rfind(c.message, 0), 0u) << p.text;
        EXPECT_EQ(p.text.find('\n'), std::string::npos) << p.text;
    }
}

}  // namespace
