// SPDX-License-Identifier: Apache-2.0
//
// The readers of registration requests, each with an answer that can be compared.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "kelvo_common_msg_registration.h"
#include "support/registrations.h"

namespace kelvo::test {

inline constexpr uint32_t kUnset = 0x5E5E5E5E;
inline constexpr uint32_t kOk = 0;
inline constexpr uint32_t kLength = KELVO_ERR_MSG_LENGTH;
inline constexpr uint32_t kContent = KELVO_ERR_MSG_CONTENT;
inline constexpr uint32_t kDuplicate = KELVO_ERR_MSG_DUPLICATE;
inline constexpr uint32_t kAny = KELVO_NODEID_INVALID;
inline constexpr uint64_t kNone = ~uint64_t{0};

/// What a reader answers. Pointers into the message are offsets; words are in the order of the
/// message. Nothing but the status is set by a failure.
struct Result {
    uint32_t status = kOk;
    std::vector<uint32_t> words = {};
    uint64_t block = kNone;
    std::vector<uint64_t> texts = {};
    Pairs list = {};
    std::string path = {};

    bool operator==(const Result&) const = default;
    friend void PrintTo(const Result& r, std::ostream* out) {
        *out << "status 0x" << std::hex << r.status << std::dec << ", block " << r.block << ", "
             << testing::PrintToString(r.words) << testing::PrintToString(r.texts)
             << testing::PrintToString(r.list) << r.path;
    }
};

/// Out-parameters that know whether they have been written.
class Outs {
  public:
    uint32_t words[8];
    void* block = &sentinel_;
    char* first = &sentinel_;
    char* second = &sentinel_;
    char** paths = &first;
    kelvo_startup_list* list = &sentinel_entry_;

    Outs() { std::fill(std::begin(words), std::end(words), kUnset); }

    /// The status; after a failure everything must be as it was.
    [[nodiscard]] Result result(uint32_t status) const {
        if (status != kOk) {
            for (const uint32_t word : words) EXPECT_EQ(word, kUnset);
            EXPECT_EQ(block, &sentinel_);
            EXPECT_EQ(first, &sentinel_);
            EXPECT_EQ(second, &sentinel_);
            EXPECT_EQ(paths, &first);
            EXPECT_EQ(list, &sentinel_entry_);
        }
        return {status};
    }
    [[nodiscard]] std::vector<uint32_t> leading(std::size_t count) const {
        return {words, words + count};
    }
    /// The pairs of the list handed out, which is released.
    [[nodiscard]] Pairs take_list() {
        Pairs pairs = pairs_of(list);
        EXPECT_EQ(list == nullptr ? 0 : list->count, pairs.size());
        if (list != nullptr) kelvo_common_startup_list_free(&list);
        return pairs;
    }

  private:
    char sentinel_ = 0;
    kelvo_startup_list sentinel_entry_ = {};
};

inline uint64_t offset_in(const uint8_t* msg, const void* pointer) {
    return static_cast<uint64_t>(static_cast<const uint8_t*>(pointer) - msg);
}

// ---- Readers -----------------------------------------------------------------------------------

inline Result read_nfn_reg(uint8_t* msg, uint32_t length) {
    Outs out;
    Result r = out.result(kelvo_common_msg_nfn_reg_interpret(msg, length, &out.words[0], &out.block,
                                                             &out.words[1], &out.first));
    if (r.status != kOk) return r;
    r.words = out.leading(2);
    r.block = offset_in(msg, out.block);
    r.texts = {offset_in(msg, out.first)};
    return r;
}

template <auto kRead>
Result read_unreg(uint8_t* msg, uint32_t length) {
    Outs out;
    Result r = out.result(kRead(msg, length, &out.words[0]));
    if (r.status == kOk) r.words = out.leading(1);
    return r;
}

inline Result read_vrfn_reg(uint8_t* msg, uint32_t length) {
    Outs out;
    // In the order of the message: id, W2, W3, W4, W5, W6, count, W7.
    Result r = out.result(kelvo_common_msg_vrfn_reg_interpret(
        msg, length, &out.words[0], &out.words[1], &out.block, &out.words[2], &out.words[3],
        &out.words[4], &out.words[6], &out.words[7], &out.paths, &out.words[5]));
    if (r.status != kOk) return r;
    r.words = out.leading(8);
    r.block = offset_in(msg, out.block);
    for (uint32_t i = 0; i < out.words[6]; ++i) r.texts.push_back(offset_in(msg, out.paths[i]));
    free(out.paths);
    return r;
}

inline Result read_vs_reg(uint8_t* msg, uint32_t length) {
    Outs out;
    Result r = out.result(kelvo_common_msg_vs_reg_interpret(msg, length, &out.words[0], &out.block,
                                                            &out.words[1], &out.first, &out.list));
    if (r.status != kOk) return r;
    r.words = out.leading(2);
    r.block = offset_in(msg, out.block);
    r.texts = {offset_in(msg, out.first)};
    r.list = out.take_list();
    return r;
}

inline Result read_edms_reg(uint8_t* msg, uint32_t length) {
    Outs out;
    Result r = out.result(kelvo_common_msg_edms_reg_interpret(
        msg, length, &out.block, &out.words[0], &out.first, &out.list));
    if (r.status != kOk) return r;
    r.words = out.leading(1);
    r.block = offset_in(msg, out.block);
    r.texts = {offset_in(msg, out.first)};
    r.list = out.take_list();
    return r;
}

template <auto kRead>
Result read_startup_unreg(uint8_t* msg, uint32_t length) {
    Outs out;
    Result r = out.result(kRead(msg, length, &out.words[0], &out.list));
    if (r.status != kOk) return r;
    r.words = out.leading(1);
    r.list = out.take_list();
    return r;
}

inline Result read_edm_reg(uint8_t* msg, uint32_t length) {
    Outs out;
    Result r = out.result(kelvo_common_msg_edm_reg_interpret(
        msg, length, &out.block, &out.words[0], &out.second, &out.first, &out.words[2],
        &out.words[3], &out.words[1], &out.words[4]));
    if (r.status != kOk) return r;
    r.words = out.leading(5);
    r.block = offset_in(msg, out.block);
    r.texts = {offset_in(msg, out.first), offset_in(msg, out.second)};
    return r;
}

inline Result read_cfg_grp(uint8_t* msg, uint32_t length) {
    Outs out;
    uint32_t record[6];
    std::fill(std::begin(record), std::end(record), kUnset);
    const uint32_t status =
        kelvo_common_msg_cfg_grp_interpret(msg, length, &out.first, &out.words[0], record,
                                           &out.words[1], &out.words[2], &out.words[3]);
    EXPECT_EQ(record[5], kUnset) << "the record has five words";
    Result r = out.result(status);
    if (status != kOk) {
        for (const uint32_t word : record) EXPECT_EQ(word, kUnset);
        return r;
    }
    r.words = out.leading(4);
    r.words.insert(r.words.end(), record, record + 5);
    r.path = out.first;
    free(out.first);
    return r;
}

/// Reads a whole message, with room behind it for a reader that reaches beyond.
inline Result read(Result (*reader)(uint8_t*, uint32_t), Bytes bytes) {
    const auto length = static_cast<uint32_t>(bytes.size());
    bytes.resize(bytes.size() + 8);
    return reader(bytes.data(), length);
}

}  // namespace kelvo::test
