#include "pages/FeatureLabels.h"

namespace {

// Which of the three capability words a label reads.
enum Word : uint8_t { PageWord, MediaWord, DriveWord, Never };

struct LabelSource {
    uint16_t controlId;
    FeatureGroup group;
    const char* caption;
    Word word;
    uint8_t bit;
};

// The bit numbers are those ReadCapabilities assigns. Two rows are the
// drive tables' own and stay as they are: "DVD-R" write reads page bit 10,
// which the DVD-R/-RW Write feature overwrites with its RDL bit, and
// "DVD-RW DL" write repeats the single-layer DVD-RW bit (media bit 18 is a
// copy of bit 17). HD DVD-RW has no source at all and stays grey.
const LabelSource kLabels[kFeatureLabelCount] = {
    {1001, GroupRead, "CD-R", PageWord, 1},
    {1005, GroupRead, "CD-RW", PageWord, 2},
    {1002, GroupRead, "DVD-R", PageWord, 5},
    {1006, GroupRead, "DVD-R DL", MediaWord, 0},
    {1007, GroupRead, "DVD-RW", MediaWord, 1},
    {1008, GroupRead, "DVD-RW DL", MediaWord, 2},
    {1013, GroupRead, "DVD-RAM", PageWord, 6},
    {1014, GroupRead, "DVD-ROM", PageWord, 4},
    {1009, GroupRead, "DVD+R", MediaWord, 3},
    {1010, GroupRead, "DVD+R DL", MediaWord, 4},
    {1011, GroupRead, "DVD+RW", MediaWord, 5},
    {1012, GroupRead, "DVD+RW DL", MediaWord, 6},
    {1004, GroupRead, "HD DVD-R", MediaWord, 7},
    {1017, GroupRead, "HD DVD-R DL", MediaWord, 8},
    {1018, GroupRead, "HD DVD-RW", Never, 0},
    {1019, GroupRead, "HD DVD-RW DL", Never, 0},
    {1020, GroupRead, "HD DVD-RAM", MediaWord, 11},
    {1021, GroupRead, "HD DVD-ROM", MediaWord, 12},
    {1003, GroupRead, "BD-ROM", MediaWord, 13},
    {1015, GroupRead, "BD-R", MediaWord, 14},
    {1016, GroupRead, "BD-RE", MediaWord, 15},

    {1025, GroupWrite, "CD-R", PageWord, 7},
    {1034, GroupWrite, "CD-RW", PageWord, 8},
    {1026, GroupWrite, "DVD-R", PageWord, 10},
    {1038, GroupWrite, "DVD-R DL", MediaWord, 16},
    {1039, GroupWrite, "DVD-RW", MediaWord, 17},
    {1040, GroupWrite, "DVD-RW DL", MediaWord, 18},
    {1045, GroupWrite, "DVD-RAM", PageWord, 11},
    {1041, GroupWrite, "DVD+R", MediaWord, 19},
    {1042, GroupWrite, "DVD+R DL", MediaWord, 20},
    {1043, GroupWrite, "DVD+RW", MediaWord, 21},
    {1044, GroupWrite, "DVD+RW DL", MediaWord, 22},
    {1029, GroupWrite, "HD DVD-R", MediaWord, 23},
    {1030, GroupWrite, "HD DVD-R DL", MediaWord, 24},
    {1031, GroupWrite, "HD DVD-RW", Never, 0},
    {1032, GroupWrite, "HD DVD-RW DL", Never, 0},
    {1033, GroupWrite, "HD DVD-RAM", MediaWord, 27},
    {1027, GroupWrite, "BD-R", MediaWord, 28},
    {1028, GroupWrite, "BD-RE", MediaWord, 29},
    {1048, GroupWrite, "Test Write", PageWord, 9},
    {1047, GroupWrite, "Buffer Underun", PageWord, 19},
    {1052, GroupWrite, "LayerJump Recording", MediaWord, 30},
    {1050, GroupWrite, "LightScribe", DriveWord, 12},

    {1053, GroupGeneral, "Audio Play", PageWord, 12},
    {1054, GroupGeneral, "Composite out", PageWord, 13},
    {1057, GroupGeneral, "Digital Port 1", PageWord, 14},
    {1056, GroupGeneral, "Digital Port 2", PageWord, 15},
    {1064, GroupGeneral, "Mode 1 form", PageWord, 16},
    {1063, GroupGeneral, "Mode 2 form", PageWord, 17},
    {1066, GroupGeneral, "MultiSession", PageWord, 18},
    {1062, GroupGeneral, "ISRC read", PageWord, 25},
    {1061, GroupGeneral, "UPC read", PageWord, 26},
    {1070, GroupGeneral, "Bar code read", PageWord, 27},
    {1067, GroupGeneral, "Power Management", DriveWord, 1},
    {1058, GroupGeneral, "SMART", DriveWord, 2},
    {1069, GroupGeneral, "Embedded Changer", DriveWord, 3},
    {1068, GroupGeneral, "Microcode Upgrade", DriveWord, 4},
    {1060, GroupGeneral, "CSS/CPPM", DriveWord, 5},
    {1059, GroupGeneral, "Streaming", DriveWord, 6},
    {1065, GroupGeneral, "Control Blocks", DriveWord, 7},
    {1055, GroupGeneral, "CPRM Auth.", DriveWord, 8},
    {1073, GroupGeneral, "AACS Auth.", DriveWord, 9},
    {1076, GroupGeneral, "SecurDisc", DriveWord, 10},
    {1072, GroupGeneral, "Timely SafeRecording", MediaWord, 31},
};

bool Lit(const DriveCapabilities& caps, const LabelSource& source) {
    switch (source.word) {
    case PageWord: return ((caps.pageBits >> source.bit) & 1u) != 0;
    case MediaWord: return ((caps.mediaFeatureBits >> source.bit) & 1u) != 0;
    case DriveWord: return ((caps.driveFeatureBits >> source.bit) & 1u) != 0;
    case Never: break;
    }
    return false;
}

}  // namespace

const uint16_t kHiddenFeatureControls[4] = {1049, 1051, 1074, 1075};

const char* FeatureGroupName(FeatureGroup group) {
    switch (group) {
    case GroupRead: return "Read Features";
    case GroupWrite: return "Write Features";
    case GroupGeneral: return "General Features";
    }
    return "";
}

void FeatureLabelStates(const DriveCapabilities& caps, FeatureLabel (&labels)[kFeatureLabelCount]) {
    for (size_t i = 0; i < kFeatureLabelCount; ++i) {
        const LabelSource& source = kLabels[i];
        labels[i] = FeatureLabel{source.controlId, source.group, source.caption, Lit(caps, source)};
    }
}

std::string FormatFeatureStates(const DriveCapabilities& caps) {
    FeatureLabel labels[kFeatureLabelCount];
    FeatureLabelStates(caps, labels);
    std::string out;
    for (const FeatureLabel& label : labels) {
        out += FeatureGroupName(label.group);
        out += '\t';
        out += label.caption;
        out += label.on ? "\ton\n" : "\toff\n";
    }
    return out;
}
