#pragma once
// The Feature page's grid of captions: which control shows which capability
// bit, in the order the page lists them, and the states a drive gives them.

#include <cstddef>
#include <cstdint>
#include <string>

#include "device/Capabilities.h"

enum FeatureGroup : uint8_t {
    GroupRead = 0,
    GroupWrite = 1,
    GroupGeneral = 2,
};

struct FeatureLabel {
    uint16_t controlId;
    FeatureGroup group;
    const char* caption;
    bool on;
};

constexpr size_t kFeatureLabelCount = 64;

// The caption of a group box: "Read Features", "Write Features", "General Features".
const char* FeatureGroupName(FeatureGroup group);

// Fills `labels` with the 64 shown controls, in the page's table order, lit
// from `caps`. The four hidden placeholders are not among them.
void FeatureLabelStates(const DriveCapabilities& caps, FeatureLabel (&labels)[kFeatureLabelCount]);

// Control ids of the template's hidden placeholder labels, never updated.
extern const uint16_t kHiddenFeatureControls[4];

// One "group<TAB>caption<TAB>on|off" line per shown label, in table order.
std::string FormatFeatureStates(const DriveCapabilities& caps);
