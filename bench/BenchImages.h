#pragma once
// Mastered volumes for the benchmarks: `files` files of 0-2,999 bytes in
// folders of 1,000, written once per run into /tmp and reused.

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "../tools/udfmaster/UdfImageBuilder.h"

inline std::string BenchImage(int files, const udfmaster::Options& options, const std::string& tag) {
    static std::map<std::string, std::string> made;
    std::string key = tag + "-" + std::to_string(files);
    auto it = made.find(key);
    if (it != made.end()) return it->second;
    std::vector<udfmaster::Node> dirs;
    for (int d = 0; d * 1000 < files; ++d) {
        std::vector<udfmaster::Node> children;
        for (int f = d * 1000; f < files && f < (d + 1) * 1000; ++f)
            children.push_back(udfmaster::File("file" + std::to_string(f) + ".dat", std::string(size_t(f % 3000), 'x')));
        dirs.push_back(udfmaster::Dir("dir" + std::to_string(d), children));
    }
    udfmaster::Image image = udfmaster::Build(udfmaster::Dir("", dirs), options);
    std::string path = "/tmp/vexlon-bench-" + key + ".img";
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(image.bytes.data()),
                                                static_cast<std::streamsize>(image.bytes.size()));
    return made[key] = path;
}
