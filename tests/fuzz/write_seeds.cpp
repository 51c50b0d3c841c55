// SPDX-License-Identifier: Apache-2.0
//
// Writes the messages that the targets of received messages begin with, one for each way in which
// an operation's message may look, into the folder named: tests/fuzz/corpus, when a target is new
// or its operations have changed.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "fuzz/families.h"
#include "support/operation_messages.h"

namespace {

using namespace kelvo;

/// "item_get_ntoh_0", for example, from the operation's name.
std::string file_name(kelvo_msg_operation operation, std::size_t number) {
    static constexpr const char* kNames[] = {
#define KELVO_FUZZ_NAME(number_, name, function) #name,
        KELVO_MSG_OPERATION_LIST(KELVO_FUZZ_NAME)
#undef KELVO_FUZZ_NAME
    };
    std::string name(kNames[operation]);
    for (char& c : name) c = c == '_' ? c : static_cast<char>(c - 'A' + 'a');
    return name + "_" + std::to_string(number);
}

bool write_seed(const std::filesystem::path& file, std::size_t choice, const test::Bytes& message) {
    std::ofstream out(file, std::ios::binary);
    out.put(static_cast<char>(choice));
    out.write(reinterpret_cast<const char*>(message.data()),
              static_cast<std::streamsize>(message.size()));
    if (!out) std::cerr << "write_seeds: cannot write " << file << '\n';
    return out.good();
}

bool write_family(const std::filesystem::path& folder, const fuzz::Operations& operations) {
    std::filesystem::create_directories(folder);
    for (std::size_t choice = 0; choice < operations.size(); ++choice) {
        const kelvo_msg_operation operation = operations.begin()[choice];
        std::size_t number = 0;
        for (const test::Bytes& message : test::messages_for(operation)) {
            const auto file = folder / file_name(operation, number++);
            if (!write_seed(file, choice, message)) return false;
        }
    }
    return true;
}

}  // namespace

int main(int count, char** names) {
    if (count != 2) {
        std::cerr << "usage: write_seeds FOLDER (for example tests/fuzz/corpus)\n";
        return 2;
    }
    for (const fuzz::NamedOperations& family : fuzz::kFamilies) {
        if (!write_family(std::filesystem::path(names[1]) / family.name, family.operations)) {
            return 1;
        }
    }
    return 0;
}
