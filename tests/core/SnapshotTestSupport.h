#pragma once
// A snapshot document shaped like one from a real machine, with the
// collectors' element and attribute names, for the assembly and stylesheet
// tests. Values include markup and script so that escaping is exercised.

#include <string>

#include "snapshot/SnapshotAssembly.h"
#include "snapshot/XmlDocument.h"

namespace snapshot_test {

inline XmlNode* Child(XmlNode* parent, const char* name, const char* text = nullptr) {
    XmlNode* node = XmlCreateElement(XmlOwner(parent), name);
    if (text) XmlSetText(node, text);
    return XmlAppendChild(parent, node);
}

inline void System(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "system_info");
    XmlNode* os = Child(section, "os");
    XmlSetAttribute(os, "model", "Windows 7 Professional");
    XmlSetAttribute(os, "version", "6.1");
    XmlSetAttribute(os, "service_pack", "Service Pack 1");
    XmlSetAttributeInt(os, "language", 1033);
    XmlSetAttribute(os, "domain_name", "WORKGROUP");
    XmlSetAttribute(os, "ie_version", "9.11.9600.17843");
    XmlAppendChild(root, section);
}

inline void Software(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "software_info");
    XmlNode* s = Child(section, "software", "<script>alert('x')</script>");
    XmlSetAttribute(s, "description", "Tom & Jerry \"Player\" <b>bold</b>");
    XmlSetAttribute(s, "version", "1.0");
    XmlSetAttribute(s, "location", "C:\\Program Files\\T&J\\");
    s = Child(section, "software", "{4A03706F-666A-4037-7777-5F2748764D10}");
    XmlSetAttribute(s, "description", "Java \xE2\x84\xA2 Runtime");
    XmlSetAttribute(s, "version", "");
    XmlSetAttribute(s, "location", "");
    XmlAppendChild(root, section);
}

inline void Hardware(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "hardware_info");
    XmlSetAttributeInt(Child(section, "cpu", "Intel(R) Core(TM) i5-3470 CPU @ 3.20GHz"), "number", 4);
    XmlNode* memory = Child(section, "memory");
    XmlSetAttribute(memory, "size", "8097.4 MB");
    XmlSetAttribute(memory, "available", "5120.0 MB");
    XmlAppendChild(root, section);
}

inline void Processes(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "process_info");
    XmlSetAttribute(Child(section, "process"), "id", "0");
    XmlSetAttribute(XmlFirstChild(section), "full_path", "System Idle Process");
    XmlNode* p = Child(section, "process");
    XmlSetAttributeInt(p, "id", 1234);
    XmlSetAttribute(p, "full_path", "C:\\Windows\\System32\\svchost.exe");
    XmlSetAttribute(p, "command_line", "");
    XmlSetAttribute(p, "memory_usage", "10240 KB");
    XmlSetAttributeInt(p, "threadnum", 17);
    XmlSetAttribute(p, "service_name", "Dhcp, EventLog, lmhosts");
    Child(p, "dll", "C:\\Windows\\SYSTEM32\\ntdll.dll");
    Child(p, "dll", "C:\\Windows\\system32\\<evil>.dll");
    XmlAppendChild(root, section);
}

inline void Services(XmlNode* root, int drivers) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), drivers ? "driver_info" : "service_info");
    XmlNode* item = Child(section, "item", drivers ? "cdrom" : "Dhcp");
    XmlSetAttribute(item, "displayname", drivers ? "CD-ROM Driver" : "DHCP Client");
    XmlSetAttribute(item, "start_status", "Running");
    XmlSetAttribute(item, "command_line", drivers ? "system32\\DRIVERS\\cdrom.sys" : "svchost.exe -k LocalService");
    if (!drivers) XmlSetAttribute(item, "account", "NT Authority\\LocalService");
    XmlSetAttribute(item, "start_type", drivers ? "System" : "Auto");
    XmlSetAttribute(item, "description", "@%SystemRoot%\\system32\\dhcpcore.dll,-100");
    XmlAppendChild(root, section);
}

inline void Startup(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "startup_info");
    XmlNode* s = Child(section, "startup");
    XmlSetAttribute(s, "name", "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Run");
    XmlSetAttribute(Child(s, "command", "VexTray"), "path", "\"C:\\Program Files\\Vex\\tray.exe\" /min");
    XmlAppendChild(root, section);
}

inline void Disks(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "disk_info");
    XmlNode* p = Child(section, "partition", "C:\\");
    XmlSetAttribute(p, "name", "System");
    XmlSetAttribute(p, "filesystem", "NTFS");
    XmlSetAttribute(p, "size", "465.76 GB");
    XmlSetAttribute(p, "available", "120.50 GB");
    XmlAppendChild(root, section);
}

inline void Network(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "netcard_info");
    XmlNode* n = Child(section, "netcard");
    XmlSetAttribute(n, "name", "{8E3A5B1C-0000-4D5E-9F00-123456789ABC}");
    XmlSetAttribute(n, "description", "Realtek PCIe GBE Family Controller");
    XmlSetAttribute(n, "mac_address", "00-1A-2B-3C-4D-5E");
    XmlSetAttribute(n, "status", "Operational");
    Child(n, "ip", "192.168.1.20");
    Child(n, "ip", "10.0.0.7");
    Child(n, "gateway", "192.168.1.1");
    XmlAppendChild(root, section);
}

inline void Ports(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "port_info");
    XmlNode* t = Child(section, "port");
    XmlSetAttribute(t, "localip", "0.0.0.0");
    XmlSetAttribute(t, "localport", "135");
    XmlSetAttribute(t, "remoteip", "0.0.0.0");
    XmlSetAttribute(t, "remoteport", "0");
    XmlSetAttribute(t, "processid", "1234");
    XmlSetAttribute(t, "location", "C:\\Windows\\System32\\svchost.exe");
    XmlSetAttribute(t, "protocal", "TCP");
    XmlSetAttribute(t, "status", "LISTEN");
    XmlNode* u = Child(section, "network");
    XmlSetAttribute(u, "localip", "0.0.0.0");
    XmlSetAttribute(u, "localport", "5353");
    XmlSetAttribute(u, "processid", "4321");
    XmlSetAttribute(u, "location", "C:\\udp-only.exe");
    XmlSetAttribute(u, "protocal", "UDP");
    XmlAppendChild(root, section);
}

inline void Winsock(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "winsock_info");
    XmlNode* w = Child(section, "winsock", "MSAFD Tcpip [TCP/IP]");
    XmlSetAttribute(w, "description", "Microsoft Windows Sockets 2.0 Service Provider");
    XmlSetAttribute(w, "published", "Microsoft Corporation");
    XmlSetAttribute(w, "location", "C:\\Windows\\system32\\mswsock.dll");
    XmlSetAttribute(w, "size", "326.50 KB");
    XmlAppendChild(root, section);
}

inline void Plugins(XmlNode* root, int) {
    XmlNode* section = XmlCreateElement(XmlOwner(root), "ieplugin_info");
    XmlNode* w = Child(section, "ieplugin", "Shockwave Flash Object");
    XmlSetAttribute(w, "description", "Adobe Flash Player");
    XmlSetAttribute(w, "published", "Adobe Systems, Inc.");
    XmlSetAttribute(w, "location", "C:\\Windows\\SysWOW64\\Macromed\\Flash\\Flash.ocx");
    XmlSetAttribute(w, "size", "15.20 MB");
    XmlAppendChild(root, section);
}

// Every section, in the order of the product's collector table.
inline const SnapshotCollector kSampleCollectors[] = {
    {kSnapshotSystem, System, 0},       {kSnapshotSoftware, Software, 0}, {kSnapshotHardware, Hardware, 0},
    {kSnapshotProcesses, Processes, 0}, {kSnapshotServices, Services, 0}, {kSnapshotDrivers, Services, 1},
    {kSnapshotStartup, Startup, 0},     {kSnapshotDisks, Disks, 0},       {kSnapshotNetwork, Network, 0},
    {kSnapshotPorts, Ports, 0},         {kSnapshotWinsock, Winsock, 0},   {kSnapshotPlugins, Plugins, 0},
};

}  // namespace snapshot_test
