#pragma once
// The report command: every page that reads the drive, in one text for a
// forum post or a bug report.

#include <string>

#include "report/ReportCommands.h"

constexpr char kProgramVersion[] = "1.3.0.0";

// Today's date as YYYY-MM-DD (local time).
std::string TodayText();

// Title line, then Drive, Feature, Media and (when the disc holds a UDF
// volume) Files, each under a "== Name ==" heading; CR LF line ends
// throughout, as the page exports have. `date` goes in the title line.
std::string WholeReport(ReportDrive& drive, const std::string& date);

// Every bare LF becomes CR LF; existing CR LF pairs stay as they are.
std::string WithCrLf(const std::string& text);
