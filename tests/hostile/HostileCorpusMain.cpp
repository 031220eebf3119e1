// Writes the hostile corpus into a folder: hostile_corpus DIR

#include <cstdio>

#include "HostileCorpus.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: hostile_corpus DIR\n");
        return 2;
    }
    WriteHostileDiscs(argv[1]);
    WriteHostileDriveFiles(argv[1]);
    return 0;
}
