#pragma once
// Turning the collectors into one snapshot document: the document settings,
// the `crashrpt` root and the sections in the order of the collector table.

#include <cstddef>
#include <cstdint>

#include "snapshot/XmlDocument.h"

struct SnapshotOptions {
    uint32_t sections;  // bits of kSnapshot*; the System page asks for all
};

constexpr uint32_t kSnapshotError = 0x1;  // no collector: the section is never produced
constexpr uint32_t kSnapshotSystem = 0x2;
constexpr uint32_t kSnapshotSoftware = 0x4;
constexpr uint32_t kSnapshotHardware = 0x8;
constexpr uint32_t kSnapshotProcesses = 0x10;
constexpr uint32_t kSnapshotServices = 0x20;
constexpr uint32_t kSnapshotDrivers = 0x40;
constexpr uint32_t kSnapshotStartup = 0x80;
constexpr uint32_t kSnapshotDisks = 0x100;
constexpr uint32_t kSnapshotNetwork = 0x200;
constexpr uint32_t kSnapshotPorts = 0x400;
constexpr uint32_t kSnapshotWinsock = 0x800;
constexpr uint32_t kSnapshotPlugins = 0x1000;
constexpr uint32_t kSnapshotAll = 0xFFFFFFFFu;

// One collector: appends its section to the end of `root`, or nothing when it
// gives up. `argument` lets one collector serve two bits (services and
// drivers differ only in a flag).
using SnapshotCollect = void (*)(XmlNode* root, int argument);

struct SnapshotCollector {
    uint32_t bit;
    SnapshotCollect collect;  // null while the section has no collector
    int argument;
};

// Initialises `document` with the snapshot's settings and root, then calls
// every collector of `table` whose bit is in `options`, in table order.
// Returns the root, or null when the arena could not supply it.
XmlNode* AssembleSnapshot(XmlDocument* document, const SnapshotOptions& options, const SnapshotCollector* table,
                          size_t count);
