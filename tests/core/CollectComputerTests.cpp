// The computer sections built from answers the platform gave: the XML is
// compared with text written by hand from the collectors' rules.

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "snapshot/CollectComputer.h"
#include "CollectTestSupport.h"
#include "snapshot/XmlDocument.h"

namespace {

std::string Wrap(const std::string& body) { return "<crashrpt>\n" + body + "</crashrpt>\n"; }

}  // namespace

TEST(SystemSection, EveryFactReadGivesAllSixAttributesInOrder) {
    Doc d;
    SystemAnswers a;
    a.model = u"Windows 7 Professional";
    a.version = u"6.1";
    a.servicePack = u"Service Pack 1";
    a.language = 1033;
    a.domainName = u"WORKGROUP";
    a.ieVersion = u"9.11.9600.17843";
    EXPECT_TRUE(BuildSystemInfo(d.root, a));
    EXPECT_EQ(d.Xml(), Wrap("\t<system_info>\n"
                            "\t\t<os model=\"Windows 7 Professional\" version=\"6.1\" service_pack=\"Service Pack 1\" "
                            "language=\"1033\" domain_name=\"WORKGROUP\" ie_version=\"9.11.9600.17843\"></os>\n"
                            "\t</system_info>\n"));
}

TEST(SystemSection, ProductNameTooLongForItsQueryLeavesModelOut) {
    // The failed ProductName query (more than 512 bytes) is an absent answer.
    Doc d;
    SystemAnswers a;
    a.version = u"6.1";
    a.language = 1031;
    EXPECT_TRUE(BuildSystemInfo(d.root, a));
    EXPECT_EQ(d.Xml(), Wrap("\t<system_info>\n"
                            "\t\t<os version=\"6.1\" language=\"1031\"></os>\n"
                            "\t</system_info>\n"));
}

TEST(SystemSection, LanguageIsAlwaysWrittenAndEmptyStringsStay) {
    Doc d;
    SystemAnswers a;
    a.servicePack = u"";
    a.domainName = u"\u00c4rger & Co";
    EXPECT_TRUE(BuildSystemInfo(d.root, a));
    EXPECT_EQ(d.Xml(), Wrap("\t<system_info>\n"
                            "\t\t<os service_pack=\"\" language=\"0\" domain_name=\"\xC3\x84rger &amp; Co\"></os>\n"
                            "\t</system_info>\n"));
}

TEST(HardwareSection, ProcessorNameCountAndMemory) {
    Doc d;
    HardwareAnswers a;
    a.processorKeyOpened = true;
    a.processorName = u"Intel(R) Core(TM) i5-3470 CPU @ 3.20GHz";
    a.processorCount = u"4";
    a.totalPhysical = 17179869184ull;  // 16 GiB
    a.availablePhysical = 5368709120ull;
    EXPECT_TRUE(BuildHardwareInfo(d.root, a));
    EXPECT_EQ(d.Xml(), Wrap("\t<hardware_info>\n"
                            "\t\t<cpu number=\"4\">Intel(R) Core(TM) i5-3470 CPU @ 3.20GHz</cpu>\n"
                            "\t\t<memory size=\"16384.0 MB\" available=\"5120.0 MB\"></memory>\n"
                            "\t</hardware_info>\n"));
}

TEST(HardwareSection, IdentifierTextIsShownLikeAName) {
    // Without ProcessorNameString the buffer holds the Identifier value.
    Doc d;
    HardwareAnswers a;
    a.processorKeyOpened = true;
    a.processorName = u"Intel64 Family 6 Model 58 Stepping 9";
    EXPECT_TRUE(BuildHardwareInfo(d.root, a));
    EXPECT_EQ(d.Xml(), Wrap("\t<hardware_info>\n"
                            "\t\t<cpu>Intel64 Family 6 Model 58 Stepping 9</cpu>\n"
                            "\t\t<memory size=\"0.0 MB\" available=\"0.0 MB\"></memory>\n"
                            "\t</hardware_info>\n"));
}

TEST(HardwareSection, ProcessorKeyMissingGivesNoTextAndFailedQueriesEmptyText) {
    Doc missing;
    HardwareAnswers a;
    a.processorCount = u"12 cores";
    BuildHardwareInfo(missing.root, a);
    XmlNode* cpu = XmlFirstChild(XmlFirstChild(missing.root));
    EXPECT_EQ(XmlText(cpu), nullptr);
    EXPECT_STREQ(XmlGetAttribute(cpu, "number"), "12");

    Doc empty;
    a.processorKeyOpened = true;
    BuildHardwareInfo(empty.root, a);
    cpu = XmlFirstChild(XmlFirstChild(empty.root));
    ASSERT_NE(XmlText(cpu), nullptr);
    EXPECT_STREQ(XmlText(cpu), "");
}

TEST(HardwareSection, MemoryDigitsAreThoseOfASingleFloat) {
    // 8490057643 bytes are 8096.7499 MB; held as a float they are 8096.75.
    EXPECT_EQ(FormatMegabytes(8490057643ull), "8096.8 MB");
    EXPECT_EQ(FormatMegabytes(1048576ull), "1.0 MB");
    EXPECT_EQ(FormatMegabytes(0), "0.0 MB");
    EXPECT_EQ(FormatMegabytes(1572864ull), "1.5 MB");
}

TEST(HardwareSection, ProcessorCountReadsLeadingDigits) {
    EXPECT_EQ(LeadingDecimal(u"8"), 8);
    EXPECT_EQ(LeadingDecimal(u"  16x"), 16);
    EXPECT_EQ(LeadingDecimal(u"abc"), 0);
    EXPECT_EQ(LeadingDecimal(u""), 0);
    EXPECT_EQ(LeadingDecimal(u"-2"), -2);
    EXPECT_EQ(LeadingDecimal(u"99999999999999"), 2147483647);
}

TEST(DiskSection, OnlyFixedAndRamDisksAreListed) {
    // One fixed disk, a DVD drive, a USB stick and a RAM disk.
    Doc d;
    std::vector<DiskAnswer> drives(4);
    drives[0].root = u"C:\\";
    drives[0].driveType = kDriveFixed;
    drives[0].label = u"System";
    drives[0].fileSystem = u"NTFS";
    drives[0].spaceKnown = true;
    drives[0].totalBytes = 500107862016ull;
    drives[0].freeBytes = 13255342817ull;
    drives[1].root = u"D:\\";
    drives[1].driveType = 5;  // optical
    drives[1].label = u"DVD";
    drives[2].root = u"E:\\";
    drives[2].driveType = 2;  // removable
    drives[3].root = u"R:\\";
    drives[3].driveType = kDriveRamDisk;
    drives[3].fileSystem = u"FAT32";
    EXPECT_TRUE(BuildDiskInfo(d.root, drives));
    EXPECT_EQ(d.Xml(), Wrap("\t<disk_info>\n"
                            "\t\t<partition name=\"System\" filesystem=\"NTFS\" size=\"465.76 GB\" "
                            "available=\"12.35 GB\">C:\\</partition>\n"
                            "\t\t<partition name=\"\" filesystem=\"FAT32\">R:\\</partition>\n"
                            "\t</disk_info>\n"));
}

TEST(DiskSection, GigabytesAreComputedInSinglePrecision) {
    // In double precision 13255342817 bytes are 12.3449999 GB.
    EXPECT_EQ(FormatGigabytes(13255342817ull), "12.35 GB");
    EXPECT_EQ(FormatGigabytes(1073741824ull), "1.00 GB");
    EXPECT_EQ(FormatGigabytes(0), "0.00 GB");
}

TEST(DiskSection, NoDisksStillWritesTheSection) {
    Doc d;
    EXPECT_TRUE(BuildDiskInfo(d.root, {}));
    EXPECT_EQ(d.Xml(), Wrap("\t<disk_info></disk_info>\n"));
}

namespace {

// An uninstall key recorded as names and values; queries answer as the
// registry does: too small a count fails and reports the size needed.
class RecordedUninstall : public SoftwareRegistry {
public:
    struct Entry {
        std::u16string name;
        bool opens = true;
        std::map<std::u16string, std::u16string> values;  // stored with their NUL
    };
    std::vector<Entry> entries;
    std::map<uint32_t, long> enumErrors;  // index to error code
    uint32_t largestCount = 0;
    uint32_t queries = 0;
    int open = -1;
    bool terminate = true;

    long EnumEntry(uint32_t index, char16_t* name, uint32_t nameChars) override {
        auto error = enumErrors.find(index);
        if (error != enumErrors.end()) return error->second;
        if (index >= entries.size()) return 259;
        const std::u16string& n = entries[index].name;
        if (n.size() + 1 > nameChars) return 234;
        std::memcpy(name, n.c_str(), (n.size() + 1) * sizeof(char16_t));
        return 0;
    }
    bool OpenEntry(const char16_t* name) override {
        for (size_t i = 0; i < entries.size(); ++i)
            if (entries[i].name == name && entries[i].opens) {
                open = static_cast<int>(i);
                return true;
            }
        return false;
    }
    long QueryValue(const char16_t* value, void* buffer, uint32_t* bytes) override {
        ++queries;
        if (*bytes > largestCount) largestCount = *bytes;
        auto found = entries[open].values.find(value);
        if (found == entries[open].values.end()) return 2;
        const uint32_t size = static_cast<uint32_t>((found->second.size() + (terminate ? 1 : 0)) * 2);
        if (size > *bytes) {
            *bytes = size;
            return 234;
        }
        std::memcpy(buffer, found->second.c_str(), size);
        *bytes = size;
        return 0;
    }
    void CloseEntry() override { open = -1; }
};

}  // namespace

TEST(SoftwareSection, AlwaysThreeAttributesAndTheKeyNameAsText) {
    Doc d;
    RecordedUninstall reg;
    reg.entries.push_back({u"Vexlon", true, {{u"DisplayName", u"Tom & Jerry"}, {u"DisplayVersion", u"1.0"},
                                              {u"InstallLocation", u"C:\\T"}}});
    reg.entries.push_back({u"{4A03706F-666A}", true, {}});
    EXPECT_TRUE(BuildSoftwareInfo(d.root, reg));
    // "C:\T" needs 10 bytes after "1.0" reported 8: the location fails.
    EXPECT_EQ(d.Xml(), Wrap("\t<software_info>\n"
                            "\t\t<software description=\"Tom &amp; Jerry\" version=\"1.0\" location=\"\">Vexlon</software>\n"
                            "\t\t<software description=\"\" version=\"\" location=\"\">{4A03706F-666A}</software>\n"
                            "\t</software_info>\n"));
}

TEST(SoftwareSection, DisplayNameLongerThanThePreviousValueIsEmpty) {
    Doc d;
    RecordedUninstall reg;
    reg.entries.push_back({u"A", true, {{u"DisplayName", u"Alpha"}, {u"DisplayVersion", u"2.5.1"},
                                        {u"InstallLocation", u"C:\\"}}});
    reg.entries.push_back({u"B", true, {{u"DisplayName", u"Bravo Longer Name"}, {u"DisplayVersion", u"3"}}});
    reg.entries.push_back({u"C", true, {{u"DisplayName", u"Bravo Longer Name"}}});
    EXPECT_TRUE(BuildSoftwareInfo(d.root, reg));
    // A: 12, 12, 8 bytes all fit. B's name needs 36 > 8: empty, and the
    // count becomes 36; "3" fits. C's name needs 36 > 4 after "3".
    EXPECT_EQ(d.Xml(), Wrap("\t<software_info>\n"
                            "\t\t<software description=\"Alpha\" version=\"2.5.1\" location=\"C:\\\">A</software>\n"
                            "\t\t<software description=\"\" version=\"3\" location=\"\">B</software>\n"
                            "\t\t<software description=\"\" version=\"\" location=\"\">C</software>\n"
                            "\t</software_info>\n"));
}

TEST(SoftwareSection, CarriedCountNeverExceedsTheBuffer) {
    Doc d;
    RecordedUninstall reg;
    reg.entries.push_back({u"Big", true, {{u"DisplayName", std::u16string(900, u'x')}, {u"DisplayVersion", u"v"}}});
    reg.entries.push_back({u"Next", true, {{u"DisplayName", std::u16string(400, u'y')}}});
    EXPECT_TRUE(BuildSoftwareInfo(d.root, reg));
    // 1802 bytes were reported; later queries are asked with at most 1024.
    EXPECT_LE(reg.largestCount, kSoftwareValueBytes);
    XmlNode* big = XmlFirstChild(XmlFirstChild(d.root));
    EXPECT_STREQ(XmlGetAttribute(big, "description"), "");
    EXPECT_STREQ(XmlGetAttribute(big, "version"), "v");
    XmlNode* next = XmlNextSibling(big);
    EXPECT_STREQ(XmlGetAttribute(next, "description"), "");  // 802 > the 4 bytes of "v"
}

TEST(SoftwareSection, ValueWithoutTerminatorEndsAtItsLength) {
    Doc d;
    RecordedUninstall reg;
    reg.terminate = false;
    reg.entries.push_back({u"K", true, {{u"DisplayName", u"Name"}, {u"DisplayVersion", u"1"}, {u"InstallLocation", u"L"}}});
    EXPECT_TRUE(BuildSoftwareInfo(d.root, reg));
    EXPECT_EQ(d.Xml(), Wrap("\t<software_info>\n"
                            "\t\t<software description=\"Name\" version=\"1\" location=\"L\">K</software>\n"
                            "\t</software_info>\n"));
}

TEST(SoftwareSection, EnumerationErrorsSkipAnIndexAndUnopenedEntriesAreLeftOut) {
    Doc d;
    RecordedUninstall reg;
    reg.entries.push_back({u"First", true, {}});
    reg.entries.push_back({u"Second", true, {}});
    reg.entries.push_back({u"Locked", false, {}});
    reg.entries.push_back({u"Fourth", true, {}});
    reg.enumErrors[1] = 5;
    EXPECT_TRUE(BuildSoftwareInfo(d.root, reg));
    std::vector<std::string> names;
    for (XmlNode* s = XmlFirstChild(XmlFirstChild(d.root)); s; s = XmlNextSibling(s)) names.push_back(XmlText(s));
    EXPECT_EQ(names, (std::vector<std::string>{"First", "Fourth"}));
}

TEST(SoftwareSection, EndlessErrorsStillEndTheWalk) {
    class Broken : public SoftwareRegistry {
    public:
        long EnumEntry(uint32_t, char16_t*, uint32_t) override { return 5; }
        bool OpenEntry(const char16_t*) override { return false; }
        long QueryValue(const char16_t*, void*, uint32_t*) override { return 2; }
        void CloseEntry() override {}
    } broken;
    Doc d;
    EXPECT_TRUE(BuildSoftwareInfo(d.root, broken));
    EXPECT_EQ(d.Xml(), Wrap("\t<software_info></software_info>\n"));
}
