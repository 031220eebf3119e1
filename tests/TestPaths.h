#pragma once
// Where the tests find the team's shared drive files and disc images, and
// their own data.

#include <string>

inline std::string SharedPath(const std::string& relative) {
    return std::string(VEXLON_SHARED_DIR) + "/" + relative;
}

inline std::string TestDataPath(const std::string& relative) {
    return std::string(VEXLON_TEST_DATA) + "/" + relative;
}
