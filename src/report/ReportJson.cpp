#include "report/ReportJson.h"

#include <cstdio>

#include "device/Capabilities.h"
#include "device/Profiles.h"
#include "pages/DriveInfo.h"
#include "pages/FeatureLabels.h"
#include "pages/MediaDiscStructure.h"
#include "pages/MediaInfo.h"
#include "pages/MediaReport.h"
#include "pages/MediaSections.h"
#include "report/WholeReport.h"
#include "udf/UdfListing.h"
#include "udf/UdfLimits.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"

namespace {

using Json = JsonDocument;

// Days since 1970-01-01 to a proleptic Gregorian date.
void CivilFromDays(int64_t days, int64_t& year, unsigned& month, unsigned& day) {
    days += 719468;
    int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    unsigned doe = static_cast<unsigned>(days - era * 146097);
    unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    unsigned mp = (5 * doy + 2) / 153;
    day = doy - (153 * mp + 2) / 5 + 1;
    month = mp < 10 ? mp + 3 : mp - 9;
    year = static_cast<int64_t>(yoe) + era * 400 + (month <= 2);
}

// A UDF timestamp as ISO 8601 UTC with 100 ns digits; null when it does not convert.
Json TimestampJson(const uint8_t* timestamp) {
    uint64_t ft = 0;
    TimestampToFileTime(timestamp, ft);
    if (ft == 0) return nullptr;
    constexpr uint64_t kTicksPerSecond = 10000000;
    constexpr int64_t kUnixEpochSeconds = 11644473600;
    int64_t seconds = static_cast<int64_t>(ft / kTicksPerSecond) - kUnixEpochSeconds;
    int64_t days = seconds >= 0 ? seconds / 86400 : (seconds - 86399) / 86400;
    int64_t inDay = seconds - days * 86400;
    int64_t year;
    unsigned month, day;
    CivilFromDays(days, year, month, day);
    char text[80];
    std::snprintf(text, sizeof text, "%04lld-%02u-%02uT%02d:%02d:%02d.%07uZ", static_cast<long long>(year), month, day,
                  static_cast<int>(inDay / 3600), static_cast<int>(inDay / 60 % 60), static_cast<int>(inDay % 60),
                  static_cast<unsigned>(ft % kTicksPerSecond));
    return text;
}

// Nodes and extents in one files document: a JSON value costs far more than
// the node it shows, so a disc that names a few entries over and over (the
// reader allows a million extents) would otherwise take gigabytes here.
constexpr uint32_t kJsonMaxEntries = 200000;

struct JsonBudget {
    uint32_t left = kJsonMaxEntries;
    bool cut = false;
    bool Take() {
        if (left == 0) return !(cut = true);
        --left;
        return true;
    }
};

Json NodeJson(const FileNode* node, uint32_t depth, JsonBudget& budget) {
    Json j;
    j["name"] = NodeName(node);
    j["directory"] = node->isDirectory != 0;
    j["modified"] = TimestampJson(node->modified);
    if (node->isDirectory) {
        Json children = Json::array();
        // The reader bounds the depth already; this keeps the walk bounded on its own.
        if (depth < kUdfMaxDirectoryDepth + 2)
            for (const FileNode* c = node->firstChild; c && budget.Take(); c = c->nextSibling)
                children.push_back(NodeJson(c, depth + 1, budget));
        j["children"] = std::move(children);
        return j;
    }
    // Nodes are packed records: their fields are copied out first.
    uint64_t size = node->size;
    j["size"] = size;
    Json extents = Json::array();
    for (uint32_t i = 0; i < node->extentCount && budget.Take(); ++i) {
        uint32_t start = node->extents[i].start, length = node->extents[i].length;
        extents.push_back({{"start", start}, {"length", length}});
    }
    j["extents"] = std::move(extents);
    return j;
}

Json MsfJson(const uint8_t (&msf)[3]) { return {{"minutes", msf[0]}, {"seconds", msf[1]}, {"frames", msf[2]}}; }

Json FormatCapacityJson(const FormatCapacity& c) {
    return {{"type", c.type}, {"blocks", c.blocks}, {"parameter", c.parameter}};
}

Json FormatCapacitiesJson(CDevice& device) {
    FormatCapacityList list;
    if (!ReadFormatCapacityList(device, list)) return nullptr;
    Json j{{"listed", list.listed}};
    if (!list.listed) return j;
    j["current"] = FormatCapacityJson(list.current);
    Json all = Json::array();
    for (const FormatCapacity& c : list.descriptors) all.push_back(FormatCapacityJson(c));
    j["descriptors"] = std::move(all);
    return j;
}

Json TocJson(CDevice& device) {
    std::vector<TocEntry> entries;
    if (!ReadTocEntries(device, entries)) return nullptr;
    Json all = Json::array();
    for (const TocEntry& e : entries)
        all.push_back({{"track", e.track}, {"lba", e.lba}, {"adr", e.adr}, {"control", e.control}});
    return all;
}

Json AtipJson(CDevice& device) {
    AtipTimes t{};
    if (!ReadAtipTimes(device, t)) return nullptr;
    return {{"leadIn", MsfJson(t.leadIn)}, {"leadOut", MsfJson(t.leadOut)},
            {"manufacturer", AtipManufacturer(t.leadIn[0], t.leadIn[1], t.leadIn[2])}};
}

Json PerformanceJson(CDevice& device) {
    std::vector<PerformanceDescriptor> descriptors;
    if (device.MediaFamily == FamilyUnknown || !ReadPerformanceDescriptors(device, descriptors)) return nullptr;
    Json all = Json::array();
    for (const PerformanceDescriptor& p : descriptors)
        all.push_back({{"mrw", (p.flags & 1) != 0}, {"exact", (p.flags >> 1 & 1) != 0}, {"rdd", (p.flags >> 2 & 1) != 0},
                       {"wrc", p.flags >> 3 & 3}, {"endLba", p.endLba}, {"readSpeed", p.readSpeed},
                       {"writeSpeed", p.writeSpeed}});
    return all;
}

Json DiscStructureJson(CDevice& device) {
    DiscStructure s{};
    if (!ReadDiscStructure(device, s)) return nullptr;
    Json j{{"kind", s.kind}};
    if (s.kind == 4) {
        std::string hex;
        char two[3];
        for (uint8_t b : s.discInformation) std::snprintf(two, sizeof two, "%02X", b), hex += two;
        j["discInformationUnit"] = hex;
        return j;
    }
    j.update({{"bookType", s.bookType}, {"partVersion", s.partVersion}, {"discSize", s.discSize},
              {"maximumRate", s.maximumRate}, {"numberOfLayers", s.numberOfLayers}, {"trackPath", s.trackPath},
              {"layerType", s.layerType}, {"linearDensity", s.linearDensity}, {"trackDensity", s.trackDensity},
              {"firstDataSector", s.firstDataSector}, {"lastDataSector", s.lastDataSector},
              {"lastSectorLayer0", s.lastSectorLayer0}, {"bca", s.bca}});
    return j;
}

// The disc information state and the capacities the section prints.
void DiscInformationJson(CDevice& device, Json& media) {
    if (device.MediaType == 0) {
        media["mediaId"] = nullptr;
        media["discInformation"] = nullptr;
        media["capacities"] = nullptr;
        return;
    }
    std::string id;
    bool found = ReadMediaId(device, id);
    media["mediaId"] = {{"found", found}, {"id", id}};
    DiscInformationState state = ReadDiscInformationState(device);
    media["discInformation"] = {{"status", state.status}, {"statusName", DiscStatusName(state.status)},
                                {"lastSession", state.lastSession},
                                {"lastSessionName", SessionStateName(state.lastSession)},
                                {"erasable", state.erasable}, {"sessions", state.sessions}};
    Json capacities;
    if (state.status != 0) capacities["recordedSectors"] = static_cast<uint32_t>(GetRecordedCapacity(device) + 1u);
    else capacities["freeSectors"] = GetFreeCapacity(device);
    uint32_t speeds[32] = {};
    uint32_t count = GetWriteSpeeds(device, speeds, 32);
    capacities["writeSpeeds"] = std::vector<uint32_t>(speeds, speeds + count);
    capacities["speedDivisor"] = GetSpeedDivisor(device);
    media["capacities"] = std::move(capacities);
}

Json WithCommand(const std::string& command, Json document) {
    Json j{{"command", command}};
    j.update(document);
    return j;
}

}  // namespace

JsonDocument IdsJson(ReportDrive& drive) {
    DriveIds ids = ReadDriveIds(drive);
    return {{"vendor", ids.vendor}, {"product", ids.product}, {"selector", ids.selector},
            {"text", FormatDriveIds(ids)}};
}

JsonDocument DriveJson(ReportDrive& drive) {
    DriveInfo i = ReadDriveInfo(*drive.device, drive.devicePath);
    Json j{{"vendor", i.vendor}, {"model", i.model}, {"firmware", i.firmware}, {"date", i.date}};
    j["interface"] = i.hasInterface ? Json(i.interfaceName) : Json(nullptr);
    j.update({{"serialNumber", i.serialNumber}, {"bufferSize", i.bufferSize}, {"regionCode", i.regionCode},
              {"regionControl", i.regionControl}, {"userChangesLeft", i.userChangesLeft},
              {"vendorChangesLeft", i.vendorChangesLeft}, {"text", FormatDriveInfo(i)}});
    return j;
}

JsonDocument CapabilitiesJson(ReportDrive& drive) {
    DriveCapabilities c{};
    bool read = ReadCapabilities(*drive.device, c);
    // The record is packed: its fields are copied out before nlohmann binds
    // a reference to them.
    auto v = [](auto field) { return field; };
    return {{"modeSenseAnswered", read},      {"pageBits", v(c.pageBits)},
            {"loadingMechanism", v(c.loadingMechanism)}, {"pageByte7Bits", v(c.pageByte7Bits)},
            {"bufferSize", v(c.bufferSize)},     {"maxReadSpeed", v(c.maxReadSpeed)},
            {"maxWriteSpeed", v(c.maxWriteSpeed)}, {"currentReadSpeed", v(c.currentReadSpeed)},
            {"currentWriteSpeed", v(c.currentWriteSpeed)}, {"mediaFeatureBits", v(c.mediaFeatureBits)},
            {"driveFeatureBits", v(c.driveFeatureBits)}, {"text", FormatCapabilities(c)}};
}

JsonDocument FeaturesJson(ReportDrive& drive) {
    DriveCapabilities caps{};
    ReadCapabilities(*drive.device, caps);
    FeatureLabel labels[kFeatureLabelCount];
    FeatureLabelStates(caps, labels);
    Json all = Json::array();
    for (const FeatureLabel& l : labels)
        all.push_back({{"group", FeatureGroupName(l.group)}, {"caption", l.caption}, {"on", l.on}});
    return {{"features", std::move(all)}, {"text", FormatFeatureStates(caps)}};
}

JsonDocument MediaJson(ReportDrive& drive) {
    CDevice& device = *drive.device;
    // The text first: it reads the current profile the sections depend on.
    std::string text = MediaReport(device);
    Json j{{"profile", {{"code", device.CurrentProfile}, {"name", GetProfileName(device.CurrentProfile)}}}};
    DiscInformationJson(device, j);
    j["formatCapacities"] = FormatCapacitiesJson(device);
    j["toc"] = TocJson(device);
    j["discStructure"] = DiscStructureJson(device);
    j["atip"] = AtipJson(device);
    j["performance"] = PerformanceJson(device);
    j["text"] = text;
    return j;
}

JsonDocument FilesJson(ReportDrive& drive) {
    CUdfReader reader;
    bool mounted = reader.MountDevice(drive.device);
    Json j{{"mounted", mounted}};
    JsonBudget budget;
    j["root"] = mounted && reader.root ? NodeJson(reader.root, 0, budget) : Json(nullptr);
    if (budget.cut) j["cut"] = true;
    j["text"] = FormatFileSystemListing(mounted ? &reader : nullptr);
    return j;
}

JsonDocument ReportJson(ReportDrive& drive, const std::string& date) {
    Json j{{"program", "Vexlon Inspector"}, {"version", kProgramVersion}, {"date", date}};
    j["ids"] = IdsJson(drive);
    j["drive"] = DriveJson(drive);
    j["features"] = FeaturesJson(drive);
    j["media"] = MediaJson(drive);
    Json files = FilesJson(drive);
    j["files"] = files["mounted"].get<bool>() ? files : Json(nullptr);
    return j;
}

JsonDocument DrivesJson(const std::vector<ListedDrive>& drives) {
    Json all = Json::array();
    for (const ListedDrive& d : drives)
        all.push_back({{"selector", d.selector},
                       {"letter", d.letter ? Json(std::string(1, d.letter)) : Json(nullptr)},
                       {"address",
                        {{"port", d.address[0]}, {"path", d.address[1]}, {"target", d.address[2]}, {"lun", d.address[3]}}},
                       {"devicePath", d.devicePath}});
    return {{"command", "drives"}, {"drives", std::move(all)}};
}

bool HasJsonDocument(const std::string& command) {
    for (const char* c : {"drives", "ids", "drive", "capabilities", "features", "media", "files", "report"})
        if (command == c) return true;
    return false;
}

bool RunJsonCommand(const std::string& command, ReportDrive& drive, std::string& out, std::string& error) {
    Json document;
    if (command == "ids") document = IdsJson(drive);
    else if (command == "drive") document = DriveJson(drive);
    else if (command == "capabilities") document = CapabilitiesJson(drive);
    else if (command == "features") document = FeaturesJson(drive);
    else if (command == "media") document = MediaJson(drive);
    else if (command == "files") document = FilesJson(drive);
    else if (command == "report") document = ReportJson(drive, TodayText());
    else {
        error = command + " has no --json output";
        return false;
    }
    out += JsonText(WithCommand(command, std::move(document)));
    return true;
}

std::string JsonText(const JsonDocument& document) {
    return document.dump(2, ' ', false, nlohmann::detail::error_handler_t::replace) + "\n";
}
