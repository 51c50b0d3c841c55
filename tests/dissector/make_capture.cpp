// SPDX-License-Identifier: Apache-2.0
//
// Writes a capture of messages of every kind, good and hostile: make_capture FILE
#include <cstdio>

#include "capture.h"
#include "protocol/random_messages.h"

using namespace kelvo::test;
namespace codec = kelvo::codec;

int main(int argc, char** argv) {
    std::FILE* const file = argc == 2 ? std::fopen(argv[1], "wb") : nullptr;
    if (file == nullptr) {
        std::fputs("usage: make_capture FILE\n", stderr);
        return 2;
    }
    const codec::Description& description = codec::Description::built_in();
    codec::CaptureWriter capture(file);
    Random random(7);
    for (const codec::Message& message : description.messages()) {
        for (int round = 0; round < 8; ++round) {
            const codec::Order order = round % 2 == 0 ? codec::kNetwork : codec::kNative;
            auto bytes = from_json(description, random_message(random, message, order));
            for (int damages = 0; damages < 5 && !bytes.empty(); ++damages) {
                capture.add(description, message, bytes);
                damage(random, bytes);
            }
        }
    }
    capture.finish();
    return 0;
}
