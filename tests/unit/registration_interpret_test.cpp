// SPDX-License-Identifier: Apache-2.0
//
// Registration requests in host order: every reader against a plain model of its steps.
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "platform/scripted_platform.h"
#include "support/converters.h"
#include "support/registration_readers.h"

namespace {

using namespace kelvo::test;

// ---- Models ------------------------------------------------------------------------------------

/// The counted string at the cursor, `r` bytes from there on. Moves both on success.
uint32_t model_text(ModelMessage& m, uint64_t& cursor, uint64_t& r, uint64_t* text) {
    if (r < 8) return kLength;
    const uint64_t n = m.read(cursor);
    if (r < n + 8) return kLength;
    *text = cursor + 8;
    if (n == 0 || m.byte(cursor + 8 + n - 1) != 0) return kContent;
    if (r < model_pad8(n) + 8) return kLength;
    cursor += model_pad8(n) + 8;
    r -= model_pad8(n) + 8;
    return kOk;
}

/// Pairs from the cursor on, to the end.
uint32_t model_pairs(ModelMessage& m, uint32_t c, uint64_t cursor, uint64_t left, Pairs* list) {
    for (uint32_t k = 0; k < c; ++k) {
        if (left < 8) return kLength;
        const Pair pair = {m.read(cursor), m.read(cursor + 4)};
        for (const Pair& entry : *list) {
            if (matches(entry, pair.first, pair.second)) return kDuplicate;
        }
        list->insert(list->begin(), pair);
        cursor += 8;
        left -= 8;
    }
    return left == 0 ? kOk : kLength;
}

Result model_nfn_reg(ModelMessage& m) {
    if (m.len < 128) return {kLength};
    uint64_t cursor = 120;
    uint64_t r = m.len - 120;
    uint64_t text;
    if (const uint32_t st = model_text(m, cursor, r, &text)) return {st};
    if (r != 0) return {kLength};
    return {kOk, {m.read(40), m.read(112)}, 48, {128}};
}

Result model_unreg(ModelMessage& m) {
    if (m.len != 44) return {kLength};
    return {kOk, {m.read(40)}};
}

Result model_vrfn_reg(ModelMessage& m) {
    if (m.len < 136) return {kLength};
    const uint32_t c = m.read(128);
    if (c == 0) return {kContent};
    uint64_t cursor = 136;
    uint64_t r = m.len - 136;
    Result result;
    for (uint32_t i = 0; i < c; ++i) {
        uint64_t text;
        if (const uint32_t st = model_text(m, cursor, r, &text)) return {st};
        result.texts.push_back(text);
    }
    if (r != 0) return {kLength};
    result.words = m.read_each({40, 44, 112, 116, 120, 124, 128, 132});
    result.block = 48;
    return result;
}

/// VS and EDMS registrations, whose path's length is at `path`.
Result model_provider(ModelMessage& m, uint64_t path) {
    if (m.len < path + 8) return {kLength};
    uint64_t cursor = path;
    uint64_t r = m.len - path;
    Result result;
    uint64_t text;
    if (const uint32_t st = model_text(m, cursor, r, &text)) return {st};
    if (r < 8) return {kLength};
    const uint32_t c = m.read(cursor);
    if (c == 0 && r != 8) return {kLength};
    if (const uint32_t st = model_pairs(m, c, cursor + 8, r - 8, &result.list)) return {st};
    result.texts = {text};
    return result;
}

Result model_vs_reg(ModelMessage& m) {
    Result result = model_provider(m, 120);
    if (result.status != kOk) return result;
    result.words = {m.read(40), m.read(112)};
    result.block = 48;
    return result;
}

Result model_edms_reg(ModelMessage& m) {
    Result result = model_provider(m, 112);
    if (result.status != kOk) return result;
    result.words = {m.read(104)};
    result.block = 40;
    return result;
}

Result model_startup_unreg(ModelMessage& m) {
    if (m.len < 56) return {kLength};
    const uint32_t c = m.read(48);
    Result result;
    if (c == 0 && m.len != 56) return {kLength};
    if (const uint32_t st = model_pairs(m, c, 56, m.len - 56, &result.list)) return {st};
    result.words = {m.read(40)};
    return result;
}

Result model_edm_reg(ModelMessage& m) {
    if (m.len < 136) return {kLength};
    uint64_t cursor = 128;
    uint64_t r = m.len - 128;
    uint64_t first;
    uint64_t second;
    if (const uint32_t st = model_text(m, cursor, r, &first)) return {st};
    if (const uint32_t st = model_text(m, cursor, r, &second)) return {st};
    if (r != 0) return {kLength};
    Result result;
    result.words = m.read_each({104, 108, 112, 116, 120});
    result.block = 40;
    result.texts = {first, second};
    return result;
}

/// The text at an offset, up to its first NUL.
std::string model_chars(const ModelMessage& m, uint64_t offset) {
    std::string chars;
    for (; m.byte(offset) != 0; ++offset) chars += static_cast<char>(m.byte(offset));
    return chars;
}

Result model_cfg_grp(ModelMessage& m) {
    if (m.len < 48) return {kLength};
    const uint32_t c = m.read(44);
    uint64_t cursor = 48;
    uint64_t r = m.len - 48;
    uint32_t error = kOk;
    std::string path = "cfg/gl/a/config-group/";
    for (uint32_t i = 0; i < c; ++i) {
        m.convert(cursor);
        if (error != kOk) continue;
        uint64_t text;
        error = model_text(m, cursor, r, &text);
        if (error != kOk) continue;
        if (i != 0) path += "|";
        path += model_chars(m, text);
    }
    if (error != kOk) return {error};
    if (r != 0) return {kLength};
    Result result;
    result.words = {0xFFFFFFFF, 4, c, m.read(40), 0xc4653601, 0xFFFFFFFF, 0, 0, 0xFFFFFFFF};
    result.path = path + "/";
    return result;
}

// ---- Every reader ------------------------------------------------------------------------------

struct Reader {
    const char* name;
    Result (*read)(uint8_t*, uint32_t);
    Result (*model)(ModelMessage&);
    std::vector<Bytes> samples;
    uint32_t fixed;
    uint32_t beyond;  ///< bytes that the buffer must hold beyond the message
    uint32_t count;   ///< offset of a count that the model must not take for billions of rounds
    friend void PrintTo(const Reader& reader, std::ostream* out) { *out << reader.name; }
};

const Pairs kPairs = {{1, 2}, {3, 4}, {1, 5}, {9, kAny}, {9, 0}};
const std::vector<Bytes> kUnregs = {unreg(0), unreg(0xFFFFFFFF)};
const std::vector<Bytes> kStartupUnregs = {startup_unreg(7, {}), startup_unreg(8, {{1, 2}}),
                                           startup_unreg(9, kPairs)};

const Reader kReaders[] = {
    {"nfn_reg",
     read_nfn_reg,
     model_nfn_reg,
     {nfn_reg(Order::host, ""), nfn_reg(Order::host, "cfg/abc"), nfn_reg(Order::host, "cfg/abcd")},
     128,
     0,
     0},
    {"nfn_unreg", read_unreg<kelvo_common_msg_nfn_unreg_interpret>, model_unreg, kUnregs, 44, 0, 0},
    {"vrfn_unreg", read_unreg<kelvo_common_msg_vrfn_unreg_interpret>, model_unreg, kUnregs, 44, 0,
     0},
    {"edm_unreg", read_unreg<kelvo_common_msg_edm_unreg_interpret>, model_unreg, kUnregs, 44, 0, 0},
    {"vrfn_reg",
     read_vrfn_reg,
     model_vrfn_reg,
     {vrfn_reg(Order::host, {"a"}), vrfn_reg(Order::host, {"", "cfg/abc", "cfg/abcd", "x"})},
     136,
     0,
     128},
    {"vs_reg",
     read_vs_reg,
     model_vs_reg,
     {vs_reg(Order::host, "", {}), vs_reg(Order::host, "cfg/abc", {{1, 2}}),
      vs_reg(Order::host, "cfg/abcd", kPairs)},
     128,
     0,
     0},
    {"edms_reg",
     read_edms_reg,
     model_edms_reg,
     {edms_reg(Order::host, "", {}), edms_reg(Order::host, "cfg/abc", {{1, 2}}),
      edms_reg(Order::host, "cfg/abcd", kPairs)},
     120,
     0,
     0},
    {"vs_unreg", read_startup_unreg<kelvo_common_msg_vs_unreg_interpret>, model_startup_unreg,
     kStartupUnregs, 56, 0, 0},
    {"edms_unreg", read_startup_unreg<kelvo_common_msg_edms_unreg_interpret>, model_startup_unreg,
     kStartupUnregs, 56, 0, 0},
    {"edm_reg",
     read_edm_reg,
     model_edm_reg,
     {edm_reg(Order::host, "", ""), edm_reg(Order::host, "cfg/abc", "cfg/abcd"),
      edm_reg(Order::host, "cfg/abcd", "x")},
     136,
     0,
     0},
    {"cfg_grp",
     read_cfg_grp,
     model_cfg_grp,
     {cfg_grp(5, {}), cfg_grp(6, {"alpha"}), cfg_grp(7, {"alpha", "", "a-name"})},
     48,
     4,
     44},
};

const Reader& reader_named(std::string_view name) {
    return *std::find_if(std::begin(kReaders), std::end(kReaders),
                         [name](const Reader& reader) { return reader.name == name; });
}
const Reader& kVsUnregReader = reader_named("vs_unreg");

/// Reads the first `length` bytes in a buffer exactly as large as it must be. Answer and buffer
/// must be those of the model.
Result expect_read_as_modelled(const Reader& reader, const Bytes& message, uint32_t length) {
    const LeaksAreMeant leaks;
    Bytes buffer(message);
    buffer.resize(length + reader.beyond, 0xEE);
    const Walled block(buffer);
    const Result result = reader.read(block.data(), length);
    ModelMessage model(buffer, length);
    EXPECT_EQ(result, reader.model(model)) << reader.name << ", length " << length;
    EXPECT_EQ(block.bytes(), buffer) << reader.name << ", length " << length;
    return result;
}

class RegistrationReader : public testing::TestWithParam<Reader> {
  protected:
    void SetUp() override { platform().reset(); }
    void TearDown() override { EXPECT_TRUE(platform().log.empty()) << "nothing is logged"; }
};

TEST_P(RegistrationReader, DemandsTheExactLength) {
    for (const Bytes& sample : GetParam().samples) {
        for (uint32_t length = 0; length < sample.size(); ++length) {
            EXPECT_EQ(expect_read_as_modelled(GetParam(), sample, length).status, kLength);
        }
        const auto whole = static_cast<uint32_t>(sample.size());
        EXPECT_EQ(expect_read_as_modelled(GetParam(), sample, whole).status, kOk);
        for (const uint32_t extra : {1U, 7U, 8U, 16U}) {
            Bytes longer = sample;
            longer.resize(whole + extra, 0);
            EXPECT_EQ(expect_read_as_modelled(GetParam(), longer, whole + extra).status, kLength);
        }
    }
}

TEST_P(RegistrationReader, AnswersAsDefinedWhateverTheBytes) {
    Random random(GetParam().fixed);
    const uint32_t sizes[] = {0, 1, 1, 2, 3, 4, 7, 8, 9, 12, 16, 17, 24};
    const uint32_t strange[] = {64, 0x01000000, 0x08000000, 0xFFFFFFF8, 0xFFFFFFF9, kAny};
    for (int round = 0; round < 10000; ++round) {
        const uint32_t length = random.below(GetParam().fixed + 120);
        Bytes message(length + 8);
        for (std::size_t at = 0; at + 4 <= message.size(); at += 4) {
            uint32_t word = random.pick(sizes);
            if (random.below(16) == 0) word = random.pick(strange);
            // The lengths of group names are in network order.
            put_word(message, at, GetParam().beyond == 4 ? reversed(word) : word);
        }
        if (GetParam().count != 0 && length >= GetParam().count + 4) {
            put_word(message, GetParam().count, random.below(9));
        }
        expect_read_as_modelled(GetParam(), message, length);
        if (HasFailure()) return;
    }
}

/// Valid messages with one word changed.
TEST_P(RegistrationReader, AnswersAsDefinedWithOneWordChanged) {
    const uint32_t changes[] = {0, 1, 2, 5, 8, 9, 16, 17, 0x08000000, 0xFFFFFFF8, 0xFFFFFFFF};
    for (const Bytes& sample : GetParam().samples) {
        for (uint32_t at = 40; at + 4 <= sample.size(); at += 4) {
            for (const uint32_t change : changes) {
                if (at == GetParam().count && change > 1000) continue;
                Bytes message = sample;
                put_word(message, at, change);
                expect_read_as_modelled(GetParam(), message, static_cast<uint32_t>(sample.size()));
            }
        }
    }
}

TEST_P(RegistrationReader, TakesAMessageAtAnOddAddress) {
    Bytes shifted = GetParam().samples.back();
    const auto length = static_cast<uint32_t>(shifted.size());
    shifted.insert(shifted.begin(), 0);
    shifted.resize(shifted.size() + 4);
    EXPECT_EQ(GetParam().read(shifted.data() + 1, length).status, kOk);
}

INSTANTIATE_TEST_SUITE_P(Readers, RegistrationReader, testing::ValuesIn(kReaders));

/// The same answers as from a short list, whatever the pairs that came before.
TEST(PairsOfAMessage, AreComparedAlikeInLongLists) {
    Random random(3);
    const uint32_t nodes[] = {0, 1, 2, 3, 4, 0xFFFFFFFE, kAny};
    for (int round = 0; round < 300; ++round) {
        Pairs pairs;
        const uint32_t count = 20 + random.below(150);
        for (uint32_t i = 0; i < count; ++i) {
            const uint32_t job = random.below(2) == 0 ? random.below(400) : random.word();
            pairs.emplace_back(job, random.pick(nodes));
        }
        const Bytes bytes = startup_unreg(1, pairs);
        expect_read_as_modelled(kVsUnregReader, bytes, static_cast<uint32_t>(bytes.size()));
        // Without what made it a duplicate, a long list comes out whole.
        kelvo_startup_list* list = list_of(pairs);
        Pairs kept = pairs_of(list);
        kelvo_common_startup_list_free(&list);
        std::reverse(kept.begin(), kept.end());
        const Bytes distinct = startup_unreg(1, kept);
        EXPECT_EQ(expect_read_as_modelled(kVsUnregReader, distinct,
                                          static_cast<uint32_t>(distinct.size()))
                      .status,
                  kOk);
    }
}

}  // namespace
