#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "TestPaths.h"
#include "ReportToolRun.h"

#ifndef _WIN32
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::vector<std::string> EveryTestDrive() {
    std::vector<std::string> files;
    for (const fs::path& root : {fs::path(SharedPath("drives")), fs::path(TestDataPath(""))})
        for (const auto& e : fs::recursive_directory_iterator(root))
            if (e.path().extension() == ".drive") files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

const char* const kJsonCommands[] = {"ids", "drive", "capabilities", "features", "media", "files", "report"};

std::string SourceDir() { return fs::path(VEXLON_TEST_DATA).parent_path().parent_path().string(); }

json RunJson(const std::string& driveFile, const std::string& command) {
    ReportToolRun r = RunReportTool("--json --drive " + ShellQuoted(driveFile) + " " + command);
    EXPECT_EQ(r.exitCode, 0) << driveFile << " " << command << ": " << r.err;
    return json::parse(r.out, nullptr, false);
}

TEST(ReportJson, EveryDocumentOfEveryTestDriveMatchesTheSchema) {
    std::vector<std::string> drives = EveryTestDrive();
    ASSERT_GE(drives.size(), 7u);
    fs::path dir = fs::temp_directory_path() / ("vexlon-json-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::string documents;
    int n = 0;
    for (const std::string& drive : drives) {
        for (const char* command : kJsonCommands) {
            ReportToolRun r = RunReportTool("--json --drive " + ShellQuoted(drive) + " " + command);
            ASSERT_EQ(r.exitCode, 0) << drive << " " << command << ": " << r.err;
            fs::path file = dir / (std::to_string(++n) + "-" + command + ".json");
            std::ofstream(file, std::ios::binary) << r.out;
            documents += " " + ShellQuoted(file.string());
        }
    }
    ReportToolRun list = RunReportTool("--json --drives " + ShellQuoted(SharedPath("drives")) + " --drives " +
                                       ShellQuoted(TestDataPath("gui")) + " drives");
    ASSERT_EQ(list.exitCode, 0) << list.err;
    std::ofstream(dir / "drives.json", std::ios::binary) << list.out;
    documents += " " + ShellQuoted((dir / "drives.json").string());
    std::string check = "python3 " + ShellQuoted(SourceDir() + "/tools/validate-report-json.py") + " " +
                        ShellQuoted(SourceDir() + "/docs/vexlon-report.schema.json") + documents + " 2>&1";
    FILE* pipe = ::popen(check.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string said;
    char chunk[4096];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) said.append(chunk, got);
    int status = ::pclose(pipe);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << said;
    EXPECT_NE(said.find(std::to_string(n + 1) + " valid, 0 invalid"), std::string::npos) << said;
    fs::remove_all(dir);
}

TEST(ReportJson, TextFieldsAreThePagesText) {
    for (const std::string& drive : EveryTestDrive()) {
        for (const char* command : {"ids", "drive", "capabilities", "features", "media"}) {
            json j = RunJson(drive, command);
            ASSERT_FALSE(j.is_discarded()) << drive << " " << command;
            EXPECT_EQ(j["command"], command);
            EXPECT_EQ(j["text"].get<std::string>(), RunReportTool("--drive " + ShellQuoted(drive) + " " + command).out)
                << drive << " " << command;
        }
    }
}

TEST(ReportJson, FieldsAgreeWithThePages) {
    std::string drive = SharedPath("drives/dvd-writer-blank-dvdplusrw.drive");
    json ids = RunJson(drive, "ids");
    EXPECT_EQ(ids["vendor"], "HL-DT-ST");
    EXPECT_EQ(ids["product"], "DVD+-RW GP60N");
    EXPECT_EQ(ids["selector"], "[1:0:0] HL-DT-ST DVD+-RW GP60N (E:)");
    json caps = RunJson(drive, "capabilities");
    EXPECT_EQ(caps["pageBits"], 0x97FFDFFFu);
    EXPECT_EQ(caps["bufferSize"], 768);
    EXPECT_EQ(caps["mediaFeatureBits"], 0x403F003Fu);
    json features = RunJson(drive, "features");
    ASSERT_EQ(features["features"].size(), 64u);
    std::string lines;
    for (const json& f : features["features"])
        lines += f["group"].get<std::string>() + "\t" + f["caption"].get<std::string>() + "\t" +
                 (f["on"].get<bool>() ? "on" : "off") + "\n";
    EXPECT_EQ(lines, features["text"]);
}

TEST(ReportJson, MediaSectionsOfARecordedBluRay) {
    json m = RunJson(SharedPath("drives/bd-writer-recorded-bdr.drive"), "media");
    EXPECT_EQ(m["profile"]["name"], "BD-R SRM");
    EXPECT_EQ(m["mediaId"]["id"], "CMCMAG-BA5-000");
    EXPECT_EQ(m["discInformation"]["statusName"], "Finalized");
    std::string text = m["text"];
    // Every TOC entry of the structured list is a line of the page's TOC.
    ASSERT_TRUE(m["toc"].is_array());
    for (const json& e : m["toc"]) {
        char line[80];
        std::snprintf(line, sizeof line, "-> Track %02X Lba:%d, Adr:%d, Control:%d\r\n", e["track"].get<int>(),
                      e["lba"].get<int>(), e["adr"].get<int>(), e["control"].get<int>());
        EXPECT_NE(text.find(line), std::string::npos) << line;
    }
    EXPECT_NE(text.find("Sectors: 12,219,392\r\n"), std::string::npos);
    EXPECT_EQ(m["capacities"]["recordedSectors"], 12219392);
    EXPECT_TRUE(m["atip"].is_null());
    EXPECT_EQ(m["discStructure"]["kind"], 4);
}

TEST(ReportJson, FilesTreeCarriesSizesTimesAndExtents) {
    json f = RunJson(SharedPath("drives/bd-writer-recorded-bdr.drive"), "files");
    ASSERT_TRUE(f["mounted"].get<bool>());
    const json& root = f["root"];
    ASSERT_TRUE(root["directory"].get<bool>());
    bool sawFile = false;
    for (const json& dir : root["children"])
        for (const json& node : dir.value("children", json::array()))
            if (!node["directory"].get<bool>() && node["size"].get<uint64_t>() > 0) {
                sawFile = true;
                uint64_t covered = 0;
                for (const json& e : node["extents"]) covered += e["length"].get<uint64_t>();
                EXPECT_GE(covered, node["size"].get<uint64_t>()) << node["name"];
                // The listing's line for the file names the same extents.
                std::string line = node["name"].get<std::string>() + " " + std::to_string(node["extents"].size());
                EXPECT_NE(f["text"].get<std::string>().find(line), std::string::npos) << line;
            }
    EXPECT_TRUE(sawFile);
}

TEST(ReportJson, ToolsWithoutADocumentRefuseJson) {
    ReportToolRun r = RunReportTool("--json --drive x.drive sector 0");
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.err.find("--json is not for sector"), std::string::npos) << r.err;
}

}  // namespace
#endif
