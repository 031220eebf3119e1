// The stylesheet is written in the browser's working-draft XSL dialect using
// only constructs that mean the same in XSLT 1.0, so switching the namespace
// lets xsltproc render the page that the hosted browser would show.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "SnapshotTestSupport.h"
#include "snapshot/SnapshotAssembly.h"
#include "snapshot/XmlDocument.h"

namespace {

const std::string kStylesheet = std::string(VEXLON_TEST_DATA) + "/../../res/snapshot.xsl";
const char kDraftNamespace[] = "xmlns:xsl=\"http://www.w3.org/TR/WD-xsl\"";

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

TEST(SnapshotStylesheet, IsUtf8WithByteOrderMarkCrLfAndTheDraftNamespace) {
    std::string xsl = ReadFile(kStylesheet);
    ASSERT_GT(xsl.size(), 100u);
    EXPECT_EQ(xsl.compare(0, 8, "\xEF\xBB\xBF<?xml"), 0);
    for (size_t i = 0; i < xsl.size(); ++i) {
        if (xsl[i] == '\n') {
            ASSERT_EQ(xsl[i - 1], '\r') << "line feed without carriage return at " << i;
        }
    }
    EXPECT_NE(xsl.find(kDraftNamespace), std::string::npos);
    EXPECT_EQ(xsl.find("1999/XSL/Transform"), std::string::npos);
    EXPECT_EQ(xsl.find("version=\"1.0\">"), std::string::npos);
}

// The text of every script element in `page`, with the xsl:value-of
// instructions of a stylesheet taken out: what is left is copied as it is.
std::vector<std::string> ScriptTexts(const std::string& page) {
    const std::string open = "<script", close = "</script>", valueOf = "<xsl:value-of ";
    std::vector<std::string> texts;
    for (size_t at = page.find(open); at != std::string::npos; at = page.find(open, at)) {
        size_t body = page.find('>', at);
        size_t end = body == std::string::npos ? body : page.find(close, body);
        if (end == std::string::npos) {
            texts.push_back("<unclosed script at " + std::to_string(at) + ">");
            break;
        }
        std::string text = page.substr(body + 1, end - body - 1);
        for (size_t v = text.find(valueOf); v != std::string::npos; v = text.find(valueOf, v)) {
            size_t stop = text.find("/>", v);
            if (stop == std::string::npos) break;
            text.erase(v, stop + 2 - v);
        }
        texts.push_back(text);
        at = end + close.size();
    }
    return texts;
}

// A processor may escape markup characters in script text (the browser's
// working-draft one does), which would break the script; so there are none.
TEST(SnapshotStylesheet, ScriptTextHoldsNoMarkupCharacters) {
    std::vector<std::string> scripts = ScriptTexts(ReadFile(kStylesheet));
    // The functions, and a Title and a CheckHide call for each of 13 sections and the modules.
    ASSERT_EQ(scripts.size(), 29u);
    EXPECT_NE(scripts[0].find("function Title(id, caption)"), std::string::npos);
    for (size_t i = 0; i < scripts.size(); ++i) {
        EXPECT_EQ(scripts[i].find('<'), std::string::npos) << "script " << i << ":\n" << scripts[i];
        EXPECT_EQ(scripts[i].find('&'), std::string::npos) << "script " << i << ":\n" << scripts[i];
    }
}

TEST(SnapshotStylesheet, ScriptTextsAreFoundWithTheirMarkupCharacters) {
    std::vector<std::string> scripts = ScriptTexts(
        "<p><script type=\"text/javascript\">a('&lt;b&gt;');</script>"
        "<script>Title('<xsl:value-of select=\"@id\"/>', '...');</script><script>x < y</script>");
    ASSERT_EQ(scripts.size(), 3u);
    EXPECT_EQ(scripts[0], "a('&lt;b&gt;');");
    EXPECT_EQ(scripts[1], "Title('', '...');");
    EXPECT_EQ(scripts[2], "x < y");
    EXPECT_EQ(ScriptTexts("<script>never closed").size(), 1u);
    EXPECT_EQ(ScriptTexts("<script>never closed")[0].find('<'), 0u);
}

// xsltproc and xmllint are Linux tools run through the shell: a Windows
// build (under Wine) has neither, so the rendering tests skip there.
bool HaveTool(const char* name) {
#ifdef _WIN32
    (void)name;
    return false;
#else
    std::string command = std::string("command -v ") + name + " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
#endif
}

class RenderedSnapshot : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!HaveTool("xsltproc") || !HaveTool("xmllint")) return;
        std::string dir = ::testing::TempDir();
        xml = dir + "snapshot-render.xml";
        XmlDocument doc;
        SnapshotOptions options{kSnapshotAll};
        AssembleSnapshot(&doc, options, snapshot_test::kSampleCollectors,
                         sizeof snapshot_test::kSampleCollectors / sizeof snapshot_test::kSampleCollectors[0]);
        XmlSave(&doc, xml.c_str(), nullptr);
        XmlDestroyDocument(&doc);

        std::string xsl = ReadFile(kStylesheet);
        size_t at = xsl.find(kDraftNamespace);
        if (at == std::string::npos) return;
        xsl.replace(at, sizeof kDraftNamespace - 1,
                    "xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\"");
        std::string xslt = dir + "snapshot-xslt1.xsl";
        WriteFile(xslt, xsl);
        std::string out = dir + "snapshot-render.html";
        std::remove(out.c_str());
        wellFormed = std::system(("xmllint --noout '" + xml + "'").c_str()) == 0;
        ran = std::system(("xsltproc -o '" + out + "' '" + xslt + "' '" + xml + "'").c_str()) == 0;
        // The HTML writer breaks lines between table cells; compare without them.
        for (char c : ReadFile(out))
            if (c != '\n') html += c;
    }
    void SetUp() override {
#ifdef _WIN32
        GTEST_SKIP() << "xsltproc and xmllint are Linux tools; the Windows build cannot start them";
#endif
        if (!HaveTool("xsltproc") || !HaveTool("xmllint")) GTEST_SKIP() << "xsltproc or xmllint is not installed";
        ASSERT_TRUE(ran);
        ASSERT_FALSE(html.empty());
    }
    static size_t At(const std::string& needle) { return html.find(needle); }
    static std::string xml, html;
    static bool ran, wellFormed;
};
std::string RenderedSnapshot::xml, RenderedSnapshot::html;
bool RenderedSnapshot::ran = false, RenderedSnapshot::wellFormed = false;

TEST_F(RenderedSnapshot, XmlLintAcceptsTheSnapshot) { EXPECT_TRUE(wellFormed); }

TEST_F(RenderedSnapshot, TitleFontsAndTableClass) {
    EXPECT_NE(At("<title>Crash Report Template</title>"), std::string::npos);
    EXPECT_NE(At("font-family: \"MS Shell Dlg\"; font-size: 9pt"), std::string::npos);
    EXPECT_NE(At("text-align: center"), std::string::npos);
    EXPECT_NE(At("table.default { width: 90%"), std::string::npos);
    EXPECT_NE(At("#d0d0d0"), std::string::npos);
}

TEST_F(RenderedSnapshot, SectionsAreShownInDisplayOrderNotFileOrder) {
    const char* order[] = {"system_info", "software_info", "hardware_info", "process_info",
                           "service_info", "driver_info", "startup_info", "disk_info",
                           "netcard_info", "port_info", "winsock_info", "ieplugin_info"};
    size_t last = 0;
    for (const char* id : order) {
        size_t at = At(std::string("<table class=\"default\" id=\"") + id + "\">");
        ASSERT_NE(at, std::string::npos) << id;
        EXPECT_GT(at, last) << id;
        last = at;
    }
    EXPECT_GT(At("<hr>"), last);
    EXPECT_EQ(At("id=\"error_info\""), std::string::npos);
}

TEST_F(RenderedSnapshot, EveryCaptionIsATitleAndEveryTableStartsHidden) {
    const char* captions[][2] = {{"system_info", "System"},      {"software_info", "Software"},
                                 {"hardware_info", "Hardware"},  {"process_info", "Process"},
                                 {"service_info", "Service"},    {"driver_info", "Driver"},
                                 {"startup_info", "Startup"},    {"disk_info", "Disk"},
                                 {"netcard_info", "Network"},    {"port_info", "Port"},
                                 {"winsock_info", "WinSock"},    {"ieplugin_info", "Internet Explore"}};
    for (auto& c : captions) {
        EXPECT_NE(At(std::string("Title('") + c[0] + "', '" + c[1] + "');"), std::string::npos) << c[0];
        EXPECT_NE(At(std::string("CheckHide('") + c[0] + "');"), std::string::npos) << c[0];
    }
    EXPECT_NE(At("mark.className = 'marker';"), std::string::npos);
    EXPECT_NE(At("mark.id = 'i' + id;"), std::string::npos);
    EXPECT_NE(At("typeof IsPrinterFriendly == 'undefined') ? '+' : '-'"), std::string::npos);
}

TEST_F(RenderedSnapshot, RenderedScriptsHoldNoMarkupCharacters) {
    std::vector<std::string> scripts = ScriptTexts(html);
    // The error section is not in the sample: 12 sections, the modules of each process, and the functions.
    ASSERT_GT(scripts.size(), 25u);
    for (size_t i = 0; i < scripts.size(); ++i) {
        EXPECT_EQ(scripts[i].find('<'), std::string::npos) << scripts[i];
        EXPECT_EQ(scripts[i].find('&'), std::string::npos) << scripts[i];
    }
}

TEST_F(RenderedSnapshot, SystemAndHardwareAreLabelledRows) {
    EXPECT_NE(At("<td class=\"label\" width=\"200\">OS:</td><td>Windows 7 Professional</td>"), std::string::npos);
    EXPECT_NE(At("Service Pack:</td><td>Service Pack 1</td>"), std::string::npos);
    EXPECT_NE(At("Language:</td><td>1033</td>"), std::string::npos);
    EXPECT_NE(At("Domain/Workgroup:</td><td>WORKGROUP</td>"), std::string::npos);
    EXPECT_NE(At("IE Version:</td><td>9.11.9600.17843</td>"), std::string::npos);
    EXPECT_NE(At("CPU Num:</td><td>4</td>"), std::string::npos);
    EXPECT_NE(At("CPU Modal:</td><td>Intel(R) Core(TM) i5-3470 CPU @ 3.20GHz</td>"), std::string::npos);
    EXPECT_NE(At("Physical Memory:</td><td>8097.4 MB</td>"), std::string::npos);
    EXPECT_NE(At("Available Memory:</td><td>5120.0 MB</td>"), std::string::npos);
}

TEST_F(RenderedSnapshot, SystemTextWithMarkupIsShownAsText) {
    EXPECT_NE(At("<td>&lt;script&gt;alert('x')&lt;/script&gt;</td>"), std::string::npos);
    EXPECT_EQ(At("<script>alert"), std::string::npos);
    EXPECT_NE(At("Tom &amp; Jerry \"Player\" &lt;b&gt;bold&lt;/b&gt;"), std::string::npos);
    EXPECT_EQ(At("<b>bold"), std::string::npos);
    EXPECT_NE(At("C:\\Windows\\system32\\&lt;evil&gt;.dll<br>"), std::string::npos);
    EXPECT_NE(At("Java \xE2\x84\xA2 Runtime"), std::string::npos);
}

TEST_F(RenderedSnapshot, TableColumns) {
    EXPECT_NE(At("<tr class=\"topic\"><td>Name</td><td>Description</td><td>Version</td><td>Path</td></tr>"),
              std::string::npos);
    EXPECT_NE(At("<td>Path</td><td>Command</td><td>ID</td><td>Thread Num</td><td>Memory Usage</td><td>Service</td>"
                 "<td>Modules</td>"),
              std::string::npos);
    EXPECT_NE(At("<td>Name</td><td>Display Name</td><td>Description</td><td>Start Type</td><td>Status</td>"
                 "<td>Command</td><td>Account</td></tr>"),
              std::string::npos);
    EXPECT_NE(At("<td>Name</td><td>Display Name</td><td>Description</td><td>Start Type</td><td>Status</td>"
                 "<td>Command</td></tr>"),
              std::string::npos);
    EXPECT_NE(At("<td>\xE5\x88\x86\xE5\x8C\xBA</td><td>Name</td><td>File System</td><td>Size</td>"
                 "<td>Available Size</td>"),
              std::string::npos);
    EXPECT_NE(At("<td>Name</td><td>Description</td><td>Status</td><td>MAC</td><td>IP</td><td>Gateway</td>"),
              std::string::npos);
    EXPECT_NE(At("<td>Protocal</td><td>Status</td><td>Local IP</td><td>Local Port</td><td>Remote IP</td>"
                 "<td>Remote Port</td><td>Path</td><td>PID</td>"),
              std::string::npos);
    EXPECT_NE(At("<td>Name</td><td>Description</td><td>Company</td><td>Location</td><td>Size</td>"),
              std::string::npos);
}

TEST_F(RenderedSnapshot, RowsCarryTheAttributes) {
    EXPECT_NE(At("<td>C:\\Windows\\System32\\svchost.exe</td><td></td><td>1234</td><td>17</td><td>10240 KB</td>"
                 "<td>Dhcp, EventLog, lmhosts</td>"),
              std::string::npos);
    EXPECT_NE(At("<td>Dhcp</td><td>DHCP Client</td><td>@%SystemRoot%\\system32\\dhcpcore.dll,-100</td>"
                 "<td>Auto</td><td>Running</td><td>svchost.exe -k LocalService</td><td>NT Authority\\LocalService</td>"),
              std::string::npos);
    EXPECT_NE(At("<tr class=\"header\"><td colspan=\"2\">HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Run"),
              std::string::npos);
    EXPECT_NE(At("<td>VexTray</td><td>\"C:\\Program Files\\Vex\\tray.exe\" /min</td>"), std::string::npos);
    EXPECT_NE(At("<td>C:\\</td><td>System</td><td>NTFS</td><td>465.76 GB</td><td>120.50 GB</td>"), std::string::npos);
    EXPECT_NE(At("<td>Operational</td><td>00-1A-2B-3C-4D-5E</td><td>192.168.1.20<br>10.0.0.7<br></td>"
                 "<td>192.168.1.1<br></td>"),
              std::string::npos);
    EXPECT_NE(At("<td>TCP</td><td>LISTEN</td><td>0.0.0.0</td><td>135</td><td>0.0.0.0</td><td>0</td>"
                 "<td>C:\\Windows\\System32\\svchost.exe</td><td>1234</td>"),
              std::string::npos);
    EXPECT_NE(At("<td>MSAFD Tcpip [TCP/IP]</td><td>Microsoft Windows Sockets 2.0 Service Provider</td>"
                 "<td>Microsoft Corporation</td>"),
              std::string::npos);
    EXPECT_NE(At("<td>Shockwave Flash Object</td><td>Adobe Flash Player</td><td>Adobe Systems, Inc.</td>"),
              std::string::npos);
}

TEST_F(RenderedSnapshot, OnlyTcpPortsAreShown) {
    EXPECT_EQ(At("5353"), std::string::npos);
    EXPECT_EQ(At("udp-only.exe"), std::string::npos);
    EXPECT_EQ(At(">UDP<"), std::string::npos);
}

TEST_F(RenderedSnapshot, ProcessModulesAreACollapsedBlockTitledByTheProcessId) {
    size_t title = At("Title('1234', '...');");
    size_t block = At("<div class=\"modules\" id=\"1234\">C:\\Windows\\SYSTEM32\\ntdll.dll<br>");
    size_t hide = At("CheckHide('1234');");
    ASSERT_NE(title, std::string::npos);
    ASSERT_NE(block, std::string::npos);
    ASSERT_NE(hide, std::string::npos);
    EXPECT_LT(title, block);
    EXPECT_LT(block, hide);
    EXPECT_NE(At("<div class=\"modules\" id=\"0\"></div>"), std::string::npos);
}

TEST_F(RenderedSnapshot, FooterLineLinksToOurSite) {
    size_t rule = At("<hr>");
    size_t footer = At("<div class=\"footer\">");
    ASSERT_NE(footer, std::string::npos);
    EXPECT_LT(rule, footer);
    EXPECT_NE(At("<a href=\"https://www.vexlon.example/\">www.vexlon.example</a>"), std::string::npos);
}

}  // namespace
