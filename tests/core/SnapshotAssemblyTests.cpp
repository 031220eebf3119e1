#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SnapshotTestSupport.h"
#include "snapshot/SnapshotAssembly.h"
#include "snapshot/XmlDocument.h"

namespace {

using snapshot_test::kSampleCollectors;

std::vector<std::string> SectionNames(XmlNode* root) {
    std::vector<std::string> names;
    for (XmlNode* s = XmlFirstChild(root); s; s = XmlNextSibling(s)) names.push_back(XmlName(s));
    return names;
}

constexpr size_t kSampleCount = sizeof kSampleCollectors / sizeof kSampleCollectors[0];

class SnapshotAssemblyTest : public ::testing::Test {
protected:
    void TearDown() override { XmlDestroyDocument(&doc); }
    XmlNode* Assemble(uint32_t mask) {
        SnapshotOptions options{mask};
        return AssembleSnapshot(&doc, options, kSampleCollectors, kSampleCount);
    }
    XmlDocument doc;
};

TEST_F(SnapshotAssemblyTest, AllBitsGiveEverySectionInTableOrderWithSoftwareSecond) {
    XmlNode* root = Assemble(kSnapshotAll);
    ASSERT_NE(root, nullptr);
    EXPECT_STREQ(XmlName(root), "crashrpt");
    EXPECT_EQ(SectionNames(root),
              (std::vector<std::string>{"system_info", "software_info", "hardware_info", "process_info",
                                        "service_info", "driver_info", "startup_info", "disk_info", "netcard_info",
                                        "port_info", "winsock_info", "ieplugin_info"}));
}

TEST_F(SnapshotAssemblyTest, DocumentSettingsGiveTheSnapshotHead) {
    Assemble(0);
    EXPECT_EQ(XmlSaveToString(&doc, nullptr),
              "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
              "<?xml-stylesheet type=\"text/xsl\" href=\"snapshot.xsl\"?>\r\n"
              "<crashrpt></crashrpt>\r\n");
}

TEST_F(SnapshotAssemblyTest, ClearBitsLeaveTheirSectionsOut) {
    XmlNode* root = Assemble(kSnapshotDrivers | kSnapshotSystem | kSnapshotPlugins);
    EXPECT_EQ(SectionNames(root), (std::vector<std::string>{"system_info", "driver_info", "ieplugin_info"}));
}

TEST_F(SnapshotAssemblyTest, ErrorBitHasNoCollector) {
    XmlNode* root = Assemble(kSnapshotError);
    EXPECT_EQ(XmlFirstChild(root), nullptr);
}

TEST_F(SnapshotAssemblyTest, ServicesAndDriversAreOneCollectorWithAFlag) {
    XmlNode* root = Assemble(kSnapshotServices | kSnapshotDrivers);
    ASSERT_EQ(SectionNames(root), (std::vector<std::string>{"service_info", "driver_info"}));
    XmlNode* service = XmlFirstChild(XmlFirstChild(root));
    XmlNode* driver = XmlFirstChild(XmlNextSibling(XmlFirstChild(root)));
    EXPECT_NE(XmlGetAttribute(service, "account"), nullptr);
    EXPECT_EQ(XmlGetAttribute(driver, "account"), nullptr);
}

std::vector<uint32_t> calls;
void RecordA(XmlNode*, int argument) { calls.push_back(0xA0 + argument); }
void RecordB(XmlNode*, int argument) { calls.push_back(0xB0 + argument); }

TEST_F(SnapshotAssemblyTest, CollectorsRunInTableOrderNotBitOrderAndMissingOnesAreSkipped) {
    const SnapshotCollector table[] = {
        {0x400, RecordB, 1}, {0x2, RecordA, 2}, {0x4, nullptr, 0}, {0x8, RecordA, 3}, {0x10, RecordB, 4}};
    calls.clear();
    SnapshotOptions options{0x400 | 0x2 | 0x4 | 0x10};
    AssembleSnapshot(&doc, options, table, 5);
    EXPECT_EQ(calls, (std::vector<uint32_t>{0xB1, 0xA2, 0xB4}));
}

TEST_F(SnapshotAssemblyTest, SavedSnapshotIndentsSectionsItemsAndChildren) {
    Assemble(kSnapshotProcesses);
    std::string file = XmlSaveToString(&doc, nullptr);
    EXPECT_NE(file.find("\r\n<crashrpt>\r\n\t<process_info>\r\n\t\t<process id=\"0\" full_path=\"System Idle "
                        "Process\"></process>\r\n\t\t<process id=\"1234\""),
              std::string::npos);
    EXPECT_NE(file.find("\t\t\t<dll>C:\\Windows\\system32\\&lt;evil&gt;.dll</dll>\r\n\t\t</process>\r\n"
                        "\t</process_info>\r\n</crashrpt>\r\n"),
              std::string::npos);
}

TEST_F(SnapshotAssemblyTest, UdpEndpointsFollowTheTcpOnesAsNetworkElements) {
    XmlNode* root = Assemble(kSnapshotPorts);
    XmlNode* first = XmlFirstChild(XmlFirstChild(root));
    EXPECT_STREQ(XmlName(first), "port");
    EXPECT_STREQ(XmlName(XmlNextSibling(first)), "network");
    EXPECT_EQ(XmlGetAttribute(XmlNextSibling(first), "status"), nullptr);
}

}  // namespace
