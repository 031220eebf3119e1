// The processes section from recorded platform answers: what each process
// shows, which services it hosts, and how many handles the walk opens.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "CollectTestSupport.h"
#include "snapshot/CollectProcesses.h"

namespace {

struct RecordedService {
    std::u16string name;
    std::optional<uint32_t> processId;  // absent: the service cannot be opened or queried
};

class CRecordedProcesses : public CProcessSource {
public:
    bool ListServices(std::vector<std::u16string>* names) override {
        if (!servicesReadable) return false;
        for (const RecordedService& s : services) names->push_back(s.name);
        return true;
    }
    std::optional<uint32_t> ServiceProcessId(const std::u16string& name) override {
        ++serviceOpens;
        for (const RecordedService& s : services)
            if (s.name == name) return s.processId;
        return std::nullopt;
    }
    bool ListProcesses(std::vector<uint32_t>* list) override {
        if (!processesReadable) return false;
        *list = ids;
        return true;
    }
    ProcessDetails ReadProcess(uint32_t id) override {
        read.push_back(id);
        auto found = details.find(id);
        return found == details.end() ? ProcessDetails{} : found->second;
    }

    bool servicesReadable = true;
    bool processesReadable = true;
    std::vector<RecordedService> services;
    std::vector<uint32_t> ids;
    std::map<uint32_t, ProcessDetails> details;
    size_t serviceOpens = 0;
    std::vector<uint32_t> read;
};

ProcessDetails Svchost() {
    ProcessDetails d;
    d.opened = true;
    d.fullPath = u"C:\\Windows\\System32\\svchost.exe";
    d.commandLine = u"C:\\Windows\\system32\\svchost.exe -k netsvcs";
    d.workingSetSize = 1536 * 1024 + 1023;
    d.threadCount = 17;
    d.modules = {u"C:\\Windows\\System32\\svchost.exe", u"C:\\Windows\\SYSTEM32\\ntdll.dll", std::nullopt,
                 u"C:\\Windows\\System32\\KERNEL32.DLL"};
    return d;
}

}  // namespace

TEST(ProcessSection, AnOpenedProcessHasItsAttributesInOrderAndItsModulesFromTheSecondOn) {
    Doc d;
    CRecordedProcesses source;
    source.services = {{u"Dhcp", 900}, {u"Other", 12}};
    source.ids = {900};
    source.details[900] = Svchost();
    EXPECT_TRUE(BuildProcessInfo(d.root, source));
    // The third module's path could not be read: it is left out.
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<process_info>\n"
                       "\t\t<process id=\"900\" full_path=\"C:\\Windows\\System32\\svchost.exe\" "
                       "command_line=\"C:\\Windows\\system32\\svchost.exe -k netsvcs\" memory_usage=\"1536 KB\" "
                       "threadnum=\"17\" service_name=\"Dhcp\">\n"
                       "\t\t\t<dll>C:\\Windows\\SYSTEM32\\ntdll.dll</dll>\n"
                       "\t\t\t<dll>C:\\Windows\\System32\\KERNEL32.DLL</dll>\n"
                       "\t\t</process>\n"
                       "\t</process_info>\n</crashrpt>\n");
}

TEST(ProcessSection, AProtectedProcessShowsOnlyItsIdAndServiceName) {
    Doc d;
    CRecordedProcesses source;
    source.services = {{u"WinDefend", 2000}};
    source.ids = {1000, 2000};
    EXPECT_TRUE(BuildProcessInfo(d.root, source));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<process_info>\n"
                       "\t\t<process id=\"1000\" service_name=\"\"></process>\n"
                       "\t\t<process id=\"2000\" service_name=\"WinDefend\"></process>\n"
                       "\t</process_info>\n</crashrpt>\n");
}

TEST(ProcessSection, ThreeHostedServicesAreJoinedWithCommaAndBlankInListOrder) {
    Doc d;
    CRecordedProcesses source;
    source.services = {{u"A", 700}, {u"Elsewhere", 800}, {u"B", 700}, {u"Locked", std::nullopt}, {u"C", 700}};
    source.ids = {700, 800};
    EXPECT_TRUE(BuildProcessInfo(d.root, source));
    const std::string xml = d.Xml();
    EXPECT_NE(xml.find("<process id=\"700\" service_name=\"A, B, C\">"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<process id=\"800\" service_name=\"Elsewhere\">"), std::string::npos) << xml;
}

TEST(ProcessSection, IdsZeroFourAndEightNeverGetServicesOrModules) {
    Doc d;
    CRecordedProcesses source;
    // Stopped services report process 0; a driver-like entry claims 4.
    source.services = {{u"Stopped", 0}, {u"Kernelish", 4}, {u"Old", 8}};
    source.ids = {0, 4, 8};
    for (uint32_t id : source.ids) source.details[id] = Svchost();
    EXPECT_TRUE(BuildProcessInfo(d.root, source));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<process_info>\n"
                       "\t\t<process id=\"0\" full_path=\"System Idle Process\"></process>\n"
                       "\t\t<process id=\"4\" full_path=\"System\"></process>\n"
                       "\t\t<process id=\"8\" full_path=\"System\"></process>\n"
                       "\t</process_info>\n</crashrpt>\n");
    EXPECT_TRUE(source.read.empty());
}

TEST(ProcessSection, WithoutACommandLineTheOtherDetailsStay) {
    Doc d;
    CRecordedProcesses source;
    source.ids = {1200};
    ProcessDetails details = Svchost();
    details.commandLine.reset();
    details.modules.resize(1);  // only the program: no dll children
    details.workingSetSize = 5ull << 40;
    source.details[1200] = details;
    EXPECT_TRUE(BuildProcessInfo(d.root, source));
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<process_info>\n"
                       "\t\t<process id=\"1200\" full_path=\"C:\\Windows\\System32\\svchost.exe\" "
                       "memory_usage=\"5368709120 KB\" threadnum=\"17\" service_name=\"\"></process>\n"
                       "\t</process_info>\n</crashrpt>\n");
}

TEST(ProcessSection, AnEmptyCommandLineIsWrittenEmpty) {
    Doc d;
    CRecordedProcesses source;
    source.ids = {1300};
    ProcessDetails details = Svchost();
    details.commandLine = u"";
    source.details[1300] = details;
    BuildProcessInfo(d.root, source);
    EXPECT_NE(d.Xml().find(" command_line=\"\" memory_usage=\"1536 KB\""), std::string::npos);
}

TEST(ProcessSection, ModulesListedWithoutAMainPathStillAppear) {
    Doc d;
    CRecordedProcesses source;
    source.ids = {1400};
    ProcessDetails details;  // the main path failed, the second listing worked
    details.modules = {std::nullopt, u"C:\\x.dll"};
    source.details[1400] = details;
    BuildProcessInfo(d.root, source);
    EXPECT_EQ(d.Xml(), "<crashrpt>\n\t<process_info>\n"
                       "\t\t<process id=\"1400\" service_name=\"\">\n\t\t\t<dll>C:\\x.dll</dll>\n\t\t</process>\n"
                       "\t</process_info>\n</crashrpt>\n");
}

TEST(ProcessSection, AnUnreadableServiceListOrProcessListLeavesTheSectionOut) {
    for (int which = 0; which < 2; ++which) {
        Doc d;
        CRecordedProcesses source;
        source.ids = {900};
        (which == 0 ? source.servicesReadable : source.processesReadable) = false;
        EXPECT_FALSE(BuildProcessInfo(d.root, source));
        EXPECT_EQ(d.Xml(), "<crashrpt></crashrpt>\n");
        EXPECT_EQ(source.serviceOpens, 0u);
    }
}

TEST(ProcessSection, TheTablesHoldAtMost1024ProcessesAnd1024Modules) {
    Doc d;
    CRecordedProcesses source;
    for (uint32_t i = 0; i < 1500; ++i) source.ids.push_back(100 + 4 * i);
    ProcessDetails many;
    for (int i = 0; i < 1500; ++i) many.modules.push_back(u"m.dll");
    source.details[100] = many;
    BuildProcessInfo(d.root, source);
    XmlNode* section = XmlFirstChild(d.root);
    size_t processes = 0;
    for (XmlNode* p = XmlFirstChild(section); p; p = XmlNextSibling(p)) ++processes;
    EXPECT_EQ(processes, 1024u);
    size_t dlls = 0;
    for (XmlNode* m = XmlFirstChild(XmlFirstChild(section)); m; m = XmlNextSibling(m)) ++dlls;
    EXPECT_EQ(dlls, 1023u);
}

// Each service is asked for its process once for the whole walk, yet every
// process shows exactly the text that asking every service again for each
// process would give.
TEST(ProcessSection, OneServiceLookupEachForTheWholeWalkWithTheSameTexts) {
    Doc d;
    CRecordedProcesses source;
    const uint32_t processes = 60, services = 45;
    for (uint32_t p = 0; p < processes; ++p) source.ids.push_back(p * 4);  // 0, 4 and 8 included
    for (uint32_t s = 0; s < services; ++s)
        source.services.push_back({u"svc" + std::u16string(1, static_cast<char16_t>(u'A' + s % 26)) +
                                       static_cast<char16_t>(u'0' + s / 26),
                                   s % 7 == 6 ? std::optional<uint32_t>() : std::optional<uint32_t>((s * 12) % 200)});
    ASSERT_TRUE(BuildProcessInfo(d.root, source));
    EXPECT_EQ(source.serviceOpens, services);
    EXPECT_EQ(source.read.size(), processes - 3);
    for (XmlNode* p = XmlFirstChild(XmlFirstChild(d.root)); p; p = XmlNextSibling(p)) {
        const uint32_t id = static_cast<uint32_t>(std::stoul(XmlGetAttribute(p, "id")));
        if (id == 0 || id == 4 || id == 8) {
            EXPECT_EQ(XmlGetAttribute(p, "service_name"), nullptr);
            continue;
        }
        std::string expected;
        for (const RecordedService& s : source.services) {
            const std::optional<uint32_t> owner = source.ServiceProcessId(s.name);
            if (!owner || *owner != id) continue;
            if (!expected.empty()) expected += ", ";
            expected += WideToUtf8(s.name);
        }
        ASSERT_NE(XmlGetAttribute(p, "service_name"), nullptr);
        EXPECT_EQ(XmlGetAttribute(p, "service_name"), expected) << id;
    }
}

TEST(ProcessSection, FixedNames) {
    EXPECT_STREQ(FixedProcessName(0), "System Idle Process");
    EXPECT_STREQ(FixedProcessName(4), "System");
    EXPECT_STREQ(FixedProcessName(8), "System");
    EXPECT_EQ(FixedProcessName(12), nullptr);
    EXPECT_EQ(FixedProcessName(1), nullptr);
}
