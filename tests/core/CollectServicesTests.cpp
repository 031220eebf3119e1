// The services and drivers sections from recorded service-manager answers.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "snapshot/CollectServices.h"
#include "CollectTestSupport.h"
#include "snapshot/XmlDocument.h"

namespace {

ServiceAnswer Dhcp() {
    ServiceAnswer s;
    s.name = u"Dhcp";
    s.displayName = u"DHCP Client";
    s.currentState = 4;
    s.configRead = true;
    s.binaryPath = u"C:\\Windows\\system32\\svchost.exe -k LocalServiceNetworkRestricted";
    s.startName = u"NT Authority\\LocalService";
    s.startType = 2;
    s.description = u"@%SystemRoot%\\system32\\dhcpcore.dll,-100";
    return s;
}

}  // namespace

TEST(ServiceSection, AttributesInOrderWithTheAccountForServices) {
    Doc d;
    EXPECT_TRUE(BuildServiceInfo(d.root, false, std::vector<ServiceAnswer>{Dhcp()}));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<service_info>\n"
                       "\t\t<item displayname=\"DHCP Client\" start_status=\"RUNNING\" "
                       "command_line=\"C:\\Windows\\system32\\svchost.exe -k LocalServiceNetworkRestricted\" "
                       "account=\"NT Authority\\LocalService\" start_type=\"AUTO_START\" "
                       "description=\"@%SystemRoot%\\system32\\dhcpcore.dll,-100\">Dhcp</item>\n"
                       "\t</service_info>\n</crashrpt>\n");
}

TEST(ServiceSection, DriversHaveNoAccount) {
    Doc d;
    ServiceAnswer cdrom = Dhcp();
    cdrom.name = u"cdrom";
    cdrom.displayName = u"CD-ROM Driver";
    cdrom.currentState = 1;
    cdrom.binaryPath = u"system32\\DRIVERS\\cdrom.sys";
    cdrom.startType = 1;
    cdrom.description.reset();
    EXPECT_TRUE(BuildServiceInfo(d.root, true, std::vector<ServiceAnswer>{cdrom}));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<driver_info>\n"
                       "\t\t<item displayname=\"CD-ROM Driver\" start_status=\"STOPPED\" "
                       "command_line=\"system32\\DRIVERS\\cdrom.sys\" start_type=\"SYSTEM_START\">cdrom</item>\n"
                       "\t</driver_info>\n</crashrpt>\n");
}

TEST(ServiceSection, UnreadConfigurationKeepsNameStatusAndText) {
    Doc d;
    ServiceAnswer locked = Dhcp();
    locked.configRead = false;
    locked.currentState = 0;
    EXPECT_TRUE(BuildServiceInfo(d.root, false, std::vector<ServiceAnswer>{locked}));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<service_info>\n"
                       "\t\t<item displayname=\"DHCP Client\" start_status=\"N/A\">Dhcp</item>\n"
                       "\t</service_info>\n</crashrpt>\n");
}

TEST(ServiceSection, StartTypeFiveAndStateZeroOrEightShowNotAvailable) {
    const char* types[] = {"BOOT_START", "SYSTEM_START", "AUTO_START", "DEMAND_START", "DISABLED"};
    for (uint32_t t = 0; t < 5; ++t) EXPECT_STREQ(ServiceStartTypeName(t), types[t]);
    EXPECT_STREQ(ServiceStartTypeName(5), "N/A");
    EXPECT_STREQ(ServiceStartTypeName(0xFFFFFFFFu), "N/A");
    const char* states[] = {"STOPPED", "START_PENDING", "STOP_PENDING", "RUNNING", "CONTINUE_PENDING",
                            "PAUSE_PENDING", "PAUSED"};
    for (uint32_t s = 1; s < 8; ++s) EXPECT_STREQ(ServiceStateName(s), states[s - 1]);
    EXPECT_STREQ(ServiceStateName(0), "N/A");
    EXPECT_STREQ(ServiceStateName(8), "N/A");
    Doc d;
    ServiceAnswer odd = Dhcp();
    odd.startType = 5;
    BuildServiceInfo(d.root, false, std::vector<ServiceAnswer>{odd});
    EXPECT_STREQ(XmlGetAttribute(XmlFirstChild(XmlFirstChild(d.root)), "start_type"), "N/A");
}

TEST(ServiceSection, UnreadableListAppendsTheEmptySection) {
    Doc services;
    EXPECT_TRUE(BuildServiceInfo(services.root, false, std::nullopt));
    EXPECT_EQ(services.Xml(), "<crashrpt>\n\t<service_info></service_info>\n</crashrpt>\n");
    Doc drivers;
    EXPECT_TRUE(BuildServiceInfo(drivers.root, true, std::vector<ServiceAnswer>{}));
    EXPECT_EQ(drivers.Xml(), "<crashrpt>\n\t<driver_info></driver_info>\n</crashrpt>\n");
}
