// SPDX-License-Identifier: Apache-2.0
//
// Runs a target on saved inputs, without a fuzzer: every file named, and every file of every folder
// named. A build without sanitizers finds broken properties, one with them everything else.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

using Paths = std::vector<std::filesystem::path>;

Paths files_of(const std::filesystem::path& named) {
    if (!std::filesystem::is_directory(named)) return {named};
    Paths files;
    for (const auto& entry : std::filesystem::directory_iterator(named)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
        return false;
    }
    // If the input ends the process, this is what says which one it was.
    std::fprintf(stderr, "%s\n", path.filename().c_str());
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
    // A copy of exactly its size, also when it is empty.
    std::uint8_t* const input = static_cast<std::uint8_t*>(std::malloc(bytes.size() + 1));
    std::copy(bytes.begin(), bytes.end(), input + 1);
    LLVMFuzzerTestOneInput(input + 1, bytes.size());
    std::free(input);
    return true;
}

}  // namespace

int main(int count, char** names) {
    if (count < 2) {
        std::fprintf(stderr, "usage: %s FILE-OR-FOLDER...\n", names[0]);
        return 2;
    }
    std::size_t replayed = 0;
    for (int i = 1; i < count; ++i) {
        for (const auto& path : files_of(names[i])) {
            if (!replay(path)) return 1;
            ++replayed;
        }
    }
    if (replayed == 0) std::fprintf(stderr, "replay: there is no input, which tests nothing\n");
    return replayed == 0 ? 1 : 0;
}
