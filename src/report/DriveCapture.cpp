#include "report/DriveCapture.h"

#include <cstdio>
#include <filesystem>
#include <memory>

#include "device/Capabilities.h"
#include "device/Commands.h"
#include "pages/DiscDump.h"
#include "pages/DriveInfo.h"
#include "pages/MediaReport.h"
#include "report/WholeReport.h"

namespace {

namespace fs = std::filesystem;

constexpr uint16_t kImageRunSectors = 32;  // 64 KiB a READ(10)

std::string Hex(uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

void WriteReply(std::string& out, const RecordedReply& r) {
    if (!r.failed && r.data.empty()) return;
    out += "\n> " + Hex(r.opcode, 2);
    for (const auto& field : r.fields) out += " " + field.first + "=" + Hex(field.second, 1);
    out += "\n";
    if (r.failed) {
        out += "! " + Hex(r.senseKey, 1) + " " + Hex(r.asc, 2) + " " + Hex(r.ascq, 2) + "\n";
        return;
    }
    for (size_t i = 0; i < r.data.size(); ++i) {
        out += Hex(r.data[i], 2);
        out += (i % 16 == 15 || i + 1 == r.data.size()) ? "\n" : " ";
    }
}

// Header values are single lines; a drive's own text never breaks one, nor
// opens a comment ('#' at the start or after white space).
std::string OneLine(std::string text) {
    for (size_t i = 0; i < text.size(); ++i) {
        char& c = text[i];
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
        if (c == '#' && (i == 0 || text[i - 1] == ' ')) c = '_';
    }
    return text;
}

CapturedMedium ProbeMedium(CDevice& device) {
    CapturedMedium m;
    MediumEnd end = ReadMediumEnd(device);
    m.sizeKnown = end.known;
    m.sectors = end.sectors;
    uint8_t sector[kSectorSize];
    m.readable = (end.known && end.sectors == 0) || ReadSectors(device, 0, 1, sector) == 1;
    return m;
}

// Sectors 0..count-1 in 64 KiB reads; a run that fails is read again sector by
// sector, and a sector that still fails is saved as zeros.
bool WriteImage(CDevice& device, uint32_t count, const std::string& path, const std::string& shown,
                CProgress* progress, std::string& error) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) {
        error = "cannot create " + shown;
        return false;
    }
    std::unique_ptr<uint8_t[]> run(new uint8_t[kImageRunSectors * kSectorSize]);
    bool ok = true;
    for (uint32_t lba = 0; ok && lba < count;) {
        uint16_t n = static_cast<uint16_t>(std::min<uint32_t>(kImageRunSectors, count - lba));
        if (ReadSectors(device, lba, n, run.get()) != n) {
            for (uint16_t i = 0; i < n; ++i)
                if (ReadSectors(device, lba + i, 1, run.get() + i * kSectorSize) != 1)
                    std::fill(run.get() + i * kSectorSize, run.get() + (i + 1) * kSectorSize, 0);
        }
        ok = std::fwrite(run.get(), kSectorSize, n, f) == n;
        lba += n;
        if (progress) progress->Advance(lba, count);
    }
    ok = std::fclose(f) == 0 && ok;
    if (!ok) error = "cannot write " + shown;
    return ok;
}

bool WriteText(const std::string& path, const std::string& text, const std::string& shown, std::string& error) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) {
        error = "cannot create " + shown;
        return false;
    }
    bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    ok = std::fclose(f) == 0 && ok;
    if (!ok) error = "cannot write " + shown;
    return ok;
}

// Every command the drive pages send, through `device`.
void SendPageCommands(ReportDrive& drive, CDevice& device) {
    ReportDrive through = drive;
    through.device = &device;
    ReadDriveIds(through);
    ReadDriveInfo(device, drive.devicePath);
    DriveCapabilities caps{};
    ReadCapabilities(device, caps);
    MediaReport(device);
}

}  // namespace

std::string CaptureImagePath(const std::string& drivePath) {
    fs::path p = fs::u8path(drivePath);
    return p.replace_extension(".iso").u8string();
}

std::string FormatCapture(const ReportDrive& drive, const DriveIds& ids, const std::vector<RecordedReply>& replies,
                          const CapturedMedium& medium, const std::string& imageName, const std::string& date) {
    std::string out = std::string("# Captured by vexlon-report ") + kProgramVersion + " on " + date + "\n";
    out += "title: " + OneLine(ids.vendor + " " + ids.product) + "\n";
    if (drive.letter >= 'A' && drive.letter <= 'Z') out += std::string("letter: ") + drive.letter + "\n";
    out += "address: " + std::to_string(drive.port) + " " + std::to_string(drive.pathId) + " " +
           std::to_string(drive.target) + " " + std::to_string(drive.lun) + "\n";
    if (!drive.devicePath.empty()) out += "path: " + OneLine(drive.devicePath) + "\n";
    if (!imageName.empty()) out += "image: " + OneLine(imageName) + "\n";
    if (medium.readable && medium.sizeKnown) out += "sectors: " + std::to_string(medium.sectors) + "\n";
    for (const RecordedReply& r : replies) WriteReply(out, r);
    return out;
}

bool CaptureDrive(ReportDrive& drive, const CaptureRequest& request, std::string& error) {
    CRecordingDevice recorder(*drive.device);
    SendPageCommands(drive, recorder);
    ReportDrive through = drive;
    through.device = &recorder;
    DriveIds ids = ReadDriveIds(through);
    CapturedMedium medium = ProbeMedium(recorder);
    uint32_t count = request.sectors;
    if (medium.sizeKnown && medium.sectors < count) count = static_cast<uint32_t>(medium.sectors);
    std::string image = request.withImage ? CaptureImagePath(request.outPath) : std::string();
    std::string imageName = request.withImage ? fs::u8path(image).filename().u8string() : std::string();
    std::string text = FormatCapture(drive, ids, recorder.Replies(), medium, imageName, request.date);
    // Both files appear together or not at all.
    std::string drivePart = request.outPath + ".part", imagePart = image + ".part";
    bool ok = WriteText(drivePart, text, request.outPath, error);
    if (ok && request.withImage) ok = WriteImage(*drive.device, count, imagePart, image, request.progress, error);
    std::error_code ec;
    if (ok && request.withImage) fs::rename(fs::u8path(imagePart), fs::u8path(image), ec);
    if (ok && !ec) fs::rename(fs::u8path(drivePart), fs::u8path(request.outPath), ec);
    if (ok && ec) error = "cannot write " + request.outPath + ": " + ec.message();
    if (!ok || ec) {
        fs::remove(fs::u8path(drivePart), ec);
        if (request.withImage) {
            fs::remove(fs::u8path(imagePart), ec);
            if (ok) fs::remove(fs::u8path(image), ec);  // renamed before the drive file failed
        }
        return false;
    }
    return true;
}
