#pragma once
// Hostile inputs, each small and each aimed at one bound: discs and drive
// files written into a folder for the tests and for the corpus runs.

#include <string>

// Writes each drive-file attack as a .drive file into `dir`, named after it.
void WriteHostileDriveFiles(const std::string& dir);

// Writes each disc attack as an image into `dir`, named after it.
void WriteHostileDiscs(const std::string& dir);
