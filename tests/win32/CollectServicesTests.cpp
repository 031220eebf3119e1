// The services and drivers readers against the service control manager of
// the system the tests run on: every item agrees with a direct query.

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "snapshot/CollectServicesWin32.h"

namespace {

void CheckAgainstManager(bool drivers) {
    SC_HANDLE manager = OpenSCManagerW(nullptr, L"ServicesActive", SC_MANAGER_ALL_ACCESS);
    ASSERT_NE(manager, nullptr);
    std::optional<std::vector<ServiceAnswer>> services = ReadServiceAnswers(manager, drivers);
    ASSERT_TRUE(services.has_value());
    for (const ServiceAnswer& s : *services) {
        std::wstring name(s.name.begin(), s.name.end());
        SC_HANDLE service = OpenServiceW(manager, name.c_str(), SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS);
        ASSERT_NE(service, nullptr) << std::string(name.begin(), name.end());
        BYTE buffer[8192] = {};
        DWORD needed = 0;
        if (QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer), sizeof buffer, &needed)) {
            auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer);
            EXPECT_TRUE(s.configRead);
            EXPECT_EQ(s.startType, config->dwStartType);
            std::wstring path = config->lpBinaryPathName ? config->lpBinaryPathName : L"";
            EXPECT_TRUE(s.binaryPath == std::u16string(path.begin(), path.end()));
        }
        CloseServiceHandle(service);
    }
    XmlDocument document;
    XmlInitDocument(&document);
    XmlNode* root = XmlAppendChild(XmlTopLevel(&document), XmlCreateElement(&document, "crashrpt"));
    BuildServiceInfo(root, drivers, services);
    size_t items = 0;
    for (XmlNode* item = XmlFirstChild(XmlFirstChild(root)); item; item = XmlNextSibling(item)) {
        ++items;
        EXPECT_EQ(XmlGetAttribute(item, "account") != nullptr,
                  !drivers && XmlGetAttribute(item, "command_line") != nullptr);
    }
    EXPECT_EQ(items, services->size());
    XmlDestroyDocument(&document);
    CloseServiceHandle(manager);
}

}  // namespace

TEST(ServiceCollector, ServicesAgreeWithTheManager) { CheckAgainstManager(false); }
TEST(ServiceCollector, DriversAgreeWithTheManager) { CheckAgainstManager(true); }
