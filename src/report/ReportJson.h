#pragma once
// The report tool's --json documents: named fields for every command that
// reads the drive, the page text kept beside them in "text" where the page
// is text. docs/json.md describes them and docs/vexlon-report.schema.json
// checks them.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "report/ReportCommands.h"
#include "report/ReportDrives.h"

using JsonDocument = nlohmann::ordered_json;

JsonDocument IdsJson(ReportDrive& drive);
JsonDocument DriveJson(ReportDrive& drive);
JsonDocument CapabilitiesJson(ReportDrive& drive);
JsonDocument FeaturesJson(ReportDrive& drive);
JsonDocument MediaJson(ReportDrive& drive);
JsonDocument FilesJson(ReportDrive& drive);
JsonDocument ReportJson(ReportDrive& drive, const std::string& date);
JsonDocument DrivesJson(const std::vector<ListedDrive>& drives);

// Whether `command` has a JSON document.
bool HasJsonDocument(const std::string& command);

// The document of `command` with its "command" field first, as indented
// text ending in a newline; false with a message for a command without one.
bool RunJsonCommand(const std::string& command, ReportDrive& drive, std::string& out, std::string& error);

// Indented UTF-8 text of a document; bytes that are not UTF-8 (disc names
// are untrusted) become U+FFFD rather than an error.
std::string JsonText(const JsonDocument& document);
