// The startup, browser plug-in and Winsock sections from recorded answers.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "snapshot/CollectStartup.h"
#include "CollectTestSupport.h"
#include "snapshot/XmlDocument.h"

namespace {

FileVersionAnswer Version(const char16_t* description, const char16_t* company, uint64_t size) {
    FileVersionAnswer v;
    v.opened = true;
    v.versionRead = true;
    v.description = description;
    v.company = company;
    v.size = size;
    return v;
}

}  // namespace

TEST(StartupSection, SourcesInOrderWithCommandsAndPathsOnlyWhereRead) {
    Doc d;
    std::vector<StartupSource> sources(2);
    sources[0].name = u"C:\\Users\\me\\Start Menu\\Programs\\Startup";
    sources[0].commands.push_back({u"Tray.lnk", std::u16string(u"%ProgramFiles%\\Vex\\tray.exe")});
    sources[0].commands.push_back({u"notes", std::nullopt});
    sources[1].name = u"HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
    sources[1].commands.push_back({u"VexTray", std::u16string(u"\"C:\\Vex\\tray.exe\" /min")});
    EXPECT_TRUE(BuildStartupInfo(d.root, sources));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<startup_info>\n"
                       "\t\t<startup name=\"C:\\Users\\me\\Start Menu\\Programs\\Startup\">\n"
                       "\t\t\t<command path=\"%ProgramFiles%\\Vex\\tray.exe\">Tray.lnk</command>\n"
                       "\t\t\t<command>notes</command>\n"
                       "\t\t</startup>\n"
                       "\t\t<startup name=\"HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run\">\n"
                       "\t\t\t<command path=\"&quot;C:\\Vex\\tray.exe&quot; /min\">VexTray</command>\n"
                       "\t\t</startup>\n"
                       "\t</startup_info>\n</crashrpt>\n");
}

TEST(StartupSection, NoSourcesIsAnEmptySection) {
    Doc d;
    EXPECT_TRUE(BuildStartupInfo(d.root, {}));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<startup_info></startup_info>\n</crashrpt>\n");
}

TEST(StartupSection, FolderEntriesDotsAndIniSkippedShortcutsByExtension) {
    EXPECT_EQ(ClassifyStartupEntry(u"."), StartupEntry::Skip);
    EXPECT_EQ(ClassifyStartupEntry(u".."), StartupEntry::Skip);
    EXPECT_EQ(ClassifyStartupEntry(u"desktop.ini"), StartupEntry::Skip);
    EXPECT_EQ(ClassifyStartupEntry(u"DESKTOP.INI"), StartupEntry::Skip);
    EXPECT_EQ(ClassifyStartupEntry(u"Tray.lnk"), StartupEntry::Shortcut);
    EXPECT_EQ(ClassifyStartupEntry(u"Tray.LNK"), StartupEntry::Shortcut);
    EXPECT_EQ(ClassifyStartupEntry(u"a.lnk.txt"), StartupEntry::Plain);
    EXPECT_EQ(ClassifyStartupEntry(u"notes"), StartupEntry::Plain);
    EXPECT_EQ(ClassifyStartupEntry(u"run.bat"), StartupEntry::Plain);
    EXPECT_EQ(ClassifyStartupEntry(u"x.inix"), StartupEntry::Plain);
}

TEST(FileVersionAttributes, SizeBelowAndFromOneKilobyte) {
    EXPECT_EQ(FormatFileSize(500), "500 B");
    EXPECT_EQ(FormatFileSize(2048000), "2000 KB (2048000 B)");
    EXPECT_EQ(FormatFileSize(1023), "1023 B");
    EXPECT_EQ(FormatFileSize(1024), "1 KB (1024 B)");
    EXPECT_EQ(FormatFileSize(0), "0 B");
}

TEST(FileVersionAttributes, SizeAlwaysWhenOpenedVersionOnlyWithTranslation) {
    Doc d;
    XmlNode* withVersion = XmlAppendChild(d.root, XmlCreateElement(&d.document, "a"));
    ApplyFileVersion(withVersion, Version(u"Desc", u"Co & Co", 500));
    XmlNode* plain = XmlAppendChild(d.root, XmlCreateElement(&d.document, "b"));
    FileVersionAnswer noVersion;
    noVersion.opened = true;
    noVersion.size = 2048000;
    ApplyFileVersion(plain, noVersion);
    XmlNode* missing = XmlAppendChild(d.root, XmlCreateElement(&d.document, "c"));
    ApplyFileVersion(missing, FileVersionAnswer{});
    EXPECT_EQ(d.Xml(), "<crashrpt>\n"
                       "\t<a description=\"Desc\" published=\"Co &amp; Co\" size=\"500 B\"></a>\n"
                       "\t<b size=\"2000 KB (2048000 B)\"></b>\n"
                       "\t<c></c>\n"
                       "</crashrpt>\n");
}

TEST(PluginSection, ServerVersionBeforeLocationAndMissingServerIsNotAvailable) {
    Doc d;
    PluginAnswer flash;
    flash.className = u"Shockwave Flash Object";
    flash.serverRead = true;
    flash.serverPath = u"C:\\Flash.ocx";
    flash.version = Version(u"Adobe Flash Player", u"Adobe", 2048000);
    PluginAnswer noServer;
    noServer.className = u"N/A";
    noServer.version = Version(u"never", u"shown", 1);  // no server: nothing read
    PluginAnswer gone;
    gone.className = u"Gone Helper";
    gone.serverRead = true;
    gone.serverPath = u"C:\\missing.dll";
    EXPECT_TRUE(BuildPluginInfo(d.root, {flash, noServer, gone}));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<ieplugin_info>\n"
                       "\t\t<ieplugin description=\"Adobe Flash Player\" published=\"Adobe\" "
                       "size=\"2000 KB (2048000 B)\" location=\"C:\\Flash.ocx\">Shockwave Flash Object</ieplugin>\n"
                       "\t\t<ieplugin location=\"N/A\">N/A</ieplugin>\n"
                       "\t\t<ieplugin location=\"C:\\missing.dll\">Gone Helper</ieplugin>\n"
                       "\t</ieplugin_info>\n</crashrpt>\n");
}

TEST(WinsockSection, LocationFirstAsStoredThenTheVersionOfTheExpandedPath) {
    Doc d;
    WinsockAnswer tcp;
    tcp.protocolName = u"MSAFD Tcpip [TCP/IP]";
    tcp.catalogRead = true;
    tcp.location = u"%SystemRoot%\\system32\\mswsock.dll";
    tcp.version = Version(u"Microsoft Windows Sockets 2.0 Service Provider", u"Microsoft Corporation", 334336);
    WinsockAnswer noEntry;
    noEntry.protocolName = u"RSVP UDP Service Provider";
    EXPECT_TRUE(BuildWinsockInfo(d.root, {tcp, noEntry}));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<winsock_info>\n"
                       "\t\t<winsock location=\"%SystemRoot%\\system32\\mswsock.dll\" "
                       "description=\"Microsoft Windows Sockets 2.0 Service Provider\" "
                       "published=\"Microsoft Corporation\" size=\"326 KB (334336 B)\">MSAFD Tcpip [TCP/IP]</winsock>\n"
                       "\t\t<winsock>RSVP UDP Service Provider</winsock>\n"
                       "\t</winsock_info>\n</crashrpt>\n");
}
