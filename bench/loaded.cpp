// SPDX-License-Identifier: Apache-2.0
//
// kelvo_loaded: a program that has loaded the library and done nothing with it but the least.
// Prints, as JSON, the bytes of the shared object that this process does not share with others.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "kelvo_common_msg.h"

int main() {
    std::uint32_t total = 1;
    kelvo_common_msg_iovs_length(nullptr, 0, &total);

    std::ifstream maps("/proc/self/smaps");
    std::string line;
    bool is_library = false;
    unsigned long kib = 0;
    while (std::getline(maps, line)) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first.find('-') != std::string::npos && first.find(':') == std::string::npos) {
            is_library = line.find("libkelvoutils.so") != std::string::npos;
        } else if (is_library && first == "Private_Dirty:") {
            unsigned long part = 0;
            words >> part;
            kib += part;
        }
    }
    std::printf("{\"private_dirty_bytes\": %lu}\n", kib * 1024);
    return total == 0 && kib != 0 ? 0 : 1;
}
