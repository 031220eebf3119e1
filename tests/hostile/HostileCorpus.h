#pragma once
// The hostile corpus: small discs and drive files made to hurt a disc tool
// (heap bytes in its output, output without end, walks without end, memory
// without end). Each is written as a drive file the report tool can load,
// with the disc image beside it and the path `extract` should try in
// NAME.extract.

#include <cstdint>
#include <string>
#include <vector>

struct HostileDisc {
    std::string name;
    std::vector<uint8_t> image;
    std::string replies;      // reply blocks added to the drive file
    std::string extractPath;  // as the report tool takes it
};

std::vector<HostileDisc> HostileDiscs();

// Writes every hostile disc as NAME.drive, NAME.img and NAME.extract.
void WriteHostileDiscs(const std::string& dir);
// Writes every hostile drive file as NAME.drive (with NAME.img where it has
// a disc).
void WriteHostileDriveFiles(const std::string& dir);
