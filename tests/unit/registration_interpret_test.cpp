// SPDX-License-Identifier: Apache-2.0
//
// Registration requests in host order: every reader against a plain model of its steps, what it
// allocates, and what it is known for.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string_view>

#include "kelvo_common_msg_registration.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/converters.h"
#include "support/registrations.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kUnset = 0x5E5E5E5E;
constexpr uint32_t kOk = 0;
constexpr uint32_t kLength = KELVO_ERR_MSG_LENGTH;
constexpr uint32_t kContent = KELVO_ERR_MSG_CONTENT;
constexpr uint32_t kDuplicate = KELVO_ERR_MSG_DUPLICATE;
constexpr uint32_t kAny = KELVO_NODEID_INVALID;
constexpr uint64_t kNone = ~uint64_t{0};

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

uint64_t offset_in(const uint8_t* msg, const void* pointer) {
    return static_cast<uint64_t>(static_cast<const uint8_t*>(pointer) - msg);
}

// ---- Readers -----------------------------------------------------------------------------------

Result read_nfn_reg(uint8_t* msg, uint32_t length) {
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

Result read_vrfn_reg(uint8_t* msg, uint32_t length) {
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

Result read_vs_reg(uint8_t* msg, uint32_t length) {
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

Result read_edms_reg(uint8_t* msg, uint32_t length) {
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

Result read_edm_reg(uint8_t* msg, uint32_t length) {
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

Result read_cfg_grp(uint8_t* msg, uint32_t length) {
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
const Reader& kEdmsUnregReader = reader_named("edms_unreg");

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

// ---- What deserves a name ----------------------------------------------------------------------

Result read(Result (*reader)(uint8_t*, uint32_t), Bytes bytes) {
    const auto length = static_cast<uint32_t>(bytes.size());
    bytes.resize(bytes.size() + 8);
    return reader(bytes.data(), length);
}

TEST(NfnRegistration, HandsOutItsFields) {
    EXPECT_EQ(read(read_nfn_reg, nfn_reg(Order::host, "cfg/a")),
              (Result{kOk, {0x11223344, 0x61626364}, 48, {128}}));
}

TEST(NfnRegistration, AcceptsTheEmptyPath) {
    Bytes bytes = nfn_reg(Order::host, "");
    EXPECT_EQ(bytes.size(), 136U);
    EXPECT_EQ(word_at(bytes, 120), 1U);
    EXPECT_EQ(read(read_nfn_reg, bytes).status, kOk);
    bytes.resize(bytes.size() + 8);
    EXPECT_EQ(read(read_nfn_reg, bytes).status, kLength);
}

TEST(NfnRegistration, RefusesAPathWithoutItsNul) {
    Bytes bytes = nfn_reg(Order::host, "cfg/abc");
    bytes.back() = 'x';
    EXPECT_EQ(read(read_nfn_reg, bytes).status, kContent);
}

TEST(Unregistration, HasFortyFourBytes) {
    Bytes bytes = unreg(77);
    EXPECT_EQ(read(read_unreg<kelvo_common_msg_nfn_unreg_interpret>, bytes), (Result{kOk, {77}}));
    bytes.resize(45);
    EXPECT_EQ(read(read_unreg<kelvo_common_msg_nfn_unreg_interpret>, bytes).status, kLength);
    bytes.resize(43);
    EXPECT_EQ(read(read_unreg<kelvo_common_msg_nfn_unreg_interpret>, bytes).status, kLength);
}

TEST(VrfnRegistration, HandsOutItsFieldsAndTheSixthWordLast) {
    EXPECT_EQ(read(read_vrfn_reg, vrfn_reg(Order::host, {"a", "b"})),
              (Result{kOk, {0x11223344, 2, 3, 4, 5, 6, 2, 7}, 48, {144, 160}}));
}

TEST(VrfnRegistration, WithoutPathsIsAContentError) {
    EXPECT_EQ(read(read_vrfn_reg, vrfn_reg(Order::host, {})).status, kContent);
    Bytes longer = vrfn_reg(Order::host, {});
    longer.resize(200);
    EXPECT_EQ(read(read_vrfn_reg, longer).status, kContent);
}

/// What reading a VRFN registration asks of the allocator, whose call number `failing` fails.
struct VrfnMemory {
    uint32_t status;
    std::size_t allocations;
    std::size_t bytes;
    long outstanding;  ///< after the array handed out, if any, has been released
};

VrfnMemory vrfn_memory(Bytes bytes, uint32_t length, std::size_t failing = FailingMemory::kNever) {
    Outs out;
    const FailingMemory memory(failing);
    const uint32_t status = kelvo_common_msg_vrfn_reg_interpret(
        bytes.data(), length, &out.words[0], &out.words[1], &out.block, &out.words[2],
        &out.words[3], &out.words[4], &out.words[6], &out.words[7], &out.paths, &out.words[5]);
    if (status == kOk) free(out.paths);
    return {status, FailingMemory::allocations(), FailingMemory::bytes(),
            FailingMemory::outstanding()};
}

TEST(VrfnRegistration, AllocatesOneArrayThatItsCallerFrees) {
    const Bytes bytes = vrfn_reg(Order::host, {"a", "b", "c"});
    const VrfnMemory memory = vrfn_memory(bytes, static_cast<uint32_t>(bytes.size()));
    EXPECT_EQ(memory.status, kOk);
    EXPECT_EQ(memory.allocations, 1U);
    EXPECT_EQ(memory.bytes, 3 * sizeof(char*));
    EXPECT_EQ(memory.outstanding, 0);
}

TEST(VrfnRegistration, ReleasesItsArrayOnEveryFailure) {
    Bytes bytes = vrfn_reg(Order::host, {"a", "b", "c"});
    for (const uint32_t length : {136U, 144U, 152U, 160U}) {
        EXPECT_EQ(vrfn_memory(bytes, length).status, kLength);
        EXPECT_EQ(vrfn_memory(bytes, length).outstanding, 0);
    }
    put_word(bytes, 152, 0);
    EXPECT_EQ(vrfn_memory(bytes, 184).status, kContent);
    EXPECT_EQ(vrfn_memory(bytes, 184).outstanding, 0);
}

TEST(VrfnRegistration, MemoryIsAskedForBetweenTheChecks) {
    Bytes bytes = vrfn_reg(Order::host, {"a"});
    EXPECT_EQ(vrfn_memory(bytes, 152, 0).status, KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(vrfn_memory(bytes, 135, 0).status, kLength);
    put_word(bytes, 136, 0);
    EXPECT_EQ(vrfn_memory(bytes, 152, 0).status, KELVO_ERR_NO_MEMORY);
    put_word(bytes, 128, 0);
    EXPECT_EQ(vrfn_memory(bytes, 152, 0).status, kContent);
}

TEST(VrfnRegistration, BillionsOfPathsTakeTheMemoryOfTheMessage) {
    Bytes bytes = vrfn_reg(Order::host, {"a", "b"});
    put_word(bytes, 128, 4000000000);
    for (const uint32_t length : {136U, 140U, 168U}) {
        const VrfnMemory memory = vrfn_memory(bytes, length);
        EXPECT_EQ(memory.status, kLength);
        EXPECT_LE(memory.bytes, 16U);
        EXPECT_EQ(memory.outstanding, 0);
    }
}

TEST(EdmRegistration, HandsOutTheSecondStringBeforeTheFirst) {
    Bytes bytes = edm_reg(Order::host, "first", "second");
    void* block;
    char* second;
    char* first;
    uint32_t w[6];
    ASSERT_EQ(kelvo_common_msg_edm_reg_interpret(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                                 &block, &w[1], &second, &first, &w[3], &w[4],
                                                 &w[2], &w[5]),
              kOk);
    EXPECT_STREQ(first, "first");
    EXPECT_STREQ(second, "second");
    EXPECT_EQ(Bytes(static_cast<uint8_t*>(block), static_cast<uint8_t*>(block) + 64),
              client_block());
    for (uint32_t i = 1; i <= 5; ++i) EXPECT_EQ(w[i], i);
}

TEST(VsRegistration, HandsOutItsFieldsAndTheListNewestFirst) {
    EXPECT_EQ(read(read_vs_reg, vs_reg(Order::host, "a", {{1, 2}, {3, 4}})),
              (Result{kOk, {0x11223344, 0x61626364}, 48, {128}, {{3, 4}, {1, 2}}}));
}

TEST(EdmsRegistration, HandsOutItsFieldsAndTheListNewestFirst) {
    EXPECT_EQ(read(read_edms_reg, edms_reg(Order::host, "a", {{1, 2}, {3, 4}})),
              (Result{kOk, {0x61626364}, 40, {120}, {{3, 4}, {1, 2}}}));
}

TEST(VsRegistration, WithoutPairsEndsWithTheirNumber) {
    Bytes bytes = vs_reg(Order::host, "a", {});
    Outs out;
    ASSERT_EQ(kelvo_common_msg_vs_reg_interpret(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                                &out.words[0], &out.block, &out.words[1],
                                                &out.first, &out.list),
              kOk);
    EXPECT_EQ(out.list, nullptr);
    bytes.resize(bytes.size() + 8);
    EXPECT_EQ(read(read_vs_reg, bytes).status, kLength);
}

struct PairRow {
    Pairs pairs;
    uint32_t status;
};
const PairRow kPairRows[] = {
    {{{7, 1}, {7, 2}}, kOk},
    {{{7, 1}, {7, 1}}, kDuplicate},
    {{{7, 1}, {8, 1}}, kOk},
    {{{7, 1}, {7, kAny}}, kDuplicate},
    {{{7, kAny}, {7, 1}}, kOk},
    {{{7, kAny}, {7, kAny}}, kDuplicate},
    {{{7, 1}, {8, kAny}}, kOk},
    {{{7, 1}, {8, 2}, {7, 1}}, kDuplicate},
    {{{7, kAny}, {7, 1}, {7, kAny}}, kDuplicate},
};

TEST(PairsOfAMessage, MustDiffer) {
    const LeaksAreMeant leaks;
    for (const PairRow& row : kPairRows) {
        SCOPED_TRACE(testing::PrintToString(row.pairs));
        EXPECT_EQ(read(read_vs_reg, vs_reg(Order::host, "a", row.pairs)).status, row.status);
        EXPECT_EQ(read(read_edms_reg, edms_reg(Order::host, "a", row.pairs)).status, row.status);
        EXPECT_EQ(read(kVsUnregReader.read, startup_unreg(1, row.pairs)).status, row.status);
        EXPECT_EQ(read(kEdmsUnregReader.read, startup_unreg(1, row.pairs)).status, row.status);
    }
}

/// A pair is looked up before the next one is known to be missing, and after its own room.
TEST(PairsOfAMessage, AreTestedOneAfterAnother) {
    const LeaksAreMeant leaks;
    Bytes bytes = vs_reg(Order::host, "a", {{7, 1}, {7, 1}, {8, 1}});
    bytes.resize(bytes.size() - 8);
    EXPECT_EQ(read(read_vs_reg, bytes).status, kDuplicate);
    bytes.resize(bytes.size() - 8);
    EXPECT_EQ(read(read_vs_reg, bytes).status, kLength);
}

/// Entries left behind by a failure on the last of `count` pairs.
template <class Read>
long left_behind(Bytes bytes, Read read_message, uint32_t expected) {
    const LeaksAreMeant leaks;
    const FailingMemory memory;
    uint32_t words[2];
    void* block;
    char* path;
    kelvo_startup_list* list = nullptr;
    const uint32_t status = read_message(bytes.data(), static_cast<uint32_t>(bytes.size()), words,
                                         &block, &path, &list);
    const long outstanding = FailingMemory::outstanding();
    EXPECT_EQ(status, expected);
    EXPECT_EQ(list, nullptr);
    return outstanding;
}

const auto kVsReg = [](void* msg, uint32_t length, uint32_t* words, void** block, char** path,
                       kelvo_startup_list** list) {
    return kelvo_common_msg_vs_reg_interpret(msg, length, &words[0], block, &words[1], path, list);
};
const auto kEdmsReg = [](void* msg, uint32_t length, uint32_t* words, void** block, char** path,
                         kelvo_startup_list** list) {
    return kelvo_common_msg_edms_reg_interpret(msg, length, block, &words[1], path, list);
};
const auto kVsUnreg = [](void* msg, uint32_t length, uint32_t* words, void**, char**,
                         kelvo_startup_list** list) {
    return kelvo_common_msg_vs_unreg_interpret(msg, length, words, list);
};
const auto kEdmsUnreg = [](void* msg, uint32_t length, uint32_t* words, void**, char**,
                           kelvo_startup_list** list) {
    return kelvo_common_msg_edms_unreg_interpret(msg, length, words, list);
};

/// Many different pairs, so that the reader keeps a set of them.
Pairs many_pairs(uint32_t count) {
    Pairs pairs;
    for (uint32_t i = 0; i < count; ++i) pairs.emplace_back(i % 11, i);
    return pairs;
}

TEST(PairsOfAMessage, StayBehindWhenARegistrationFails) {
    for (const uint32_t count : {2U, 100U, 300U}) {
        Pairs pairs = many_pairs(count);
        pairs.push_back(pairs.front());
        EXPECT_EQ(left_behind(vs_reg(Order::host, "a", pairs), kVsReg, kDuplicate), count);
        EXPECT_EQ(left_behind(edms_reg(Order::host, "a", pairs), kEdmsReg, kDuplicate), count);
        Bytes longer = vs_reg(Order::host, "a", many_pairs(count));
        longer.push_back(0);
        EXPECT_EQ(left_behind(longer, kVsReg, kLength), count);
    }
}

TEST(PairsOfAMessage, AreReleasedWhenAnUnregistrationFails) {
    for (const uint32_t count : {0U, 2U, 100U, 300U}) {
        Pairs pairs = many_pairs(count);
        pairs.insert(pairs.end(), {{50, 1}, {50, 1}});
        EXPECT_EQ(left_behind(startup_unreg(1, pairs), kVsUnreg, kDuplicate), 0);
        EXPECT_EQ(left_behind(startup_unreg(1, pairs), kEdmsUnreg, kDuplicate), 0);
        Bytes longer = startup_unreg(1, many_pairs(count));
        longer.push_back(0);
        EXPECT_EQ(left_behind(longer, kVsUnreg, kLength), 0);
    }
    Bytes missing = startup_unreg(1, {{1, 1}});
    missing.resize(missing.size() - 8);
    EXPECT_EQ(left_behind(missing, kEdmsUnreg, kLength), 0) << "not even one was added";
}

/// Fails each allocation in turn until none is left to fail. @return the number that failed
template <class Read, class Check>
std::size_t fail_each_allocation(Bytes bytes, Read read_message, Check check) {
    const LeaksAreMeant leaks;
    for (std::size_t failing = 0;; ++failing) {
        uint32_t words[2];
        void* block;
        char* path;
        kelvo_startup_list* list = nullptr;
        uint32_t status;
        long outstanding;
        {
            const FailingMemory memory(failing);
            status = read_message(bytes.data(), static_cast<uint32_t>(bytes.size()), words, &block,
                                  &path, &list);
            outstanding = FailingMemory::outstanding();
        }
        if (status == kOk) {
            kelvo_common_startup_list_free(&list);
            return failing;
        }
        EXPECT_EQ(status, KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(list, nullptr);
        check(failing, outstanding);
        if (testing::Test::HasFailure()) return failing;
    }
}

TEST(PairsOfAMessage, NeedMemoryForEachEntry) {
    const auto one_per_pair = [](std::size_t failing, long outstanding) {
        EXPECT_EQ(outstanding, failing);
    };
    const auto nothing = [](std::size_t, long outstanding) { EXPECT_EQ(outstanding, 0); };
    EXPECT_EQ(fail_each_allocation(vs_reg(Order::host, "a", many_pairs(20)), kVsReg, one_per_pair),
              20U);
    EXPECT_EQ(
        fail_each_allocation(edms_reg(Order::host, "a", many_pairs(20)), kEdmsReg, one_per_pair),
        20U);
    EXPECT_EQ(fail_each_allocation(startup_unreg(1, many_pairs(20)), kVsUnreg, nothing), 20U);
    EXPECT_EQ(fail_each_allocation(startup_unreg(1, many_pairs(20)), kEdmsUnreg, nothing), 20U);
}

TEST(PairsOfAMessage, NeedMemoryForTheirSetWhenTheyAreMany) {
    const auto at_most_entries = [](std::size_t failing, long outstanding) {
        EXPECT_LE(outstanding, static_cast<long>(failing));
    };
    const auto nothing = [](std::size_t, long outstanding) { EXPECT_EQ(outstanding, 0); };
    EXPECT_GT(
        fail_each_allocation(vs_reg(Order::host, "a", many_pairs(500)), kVsReg, at_most_entries),
        500U);
    EXPECT_GT(fail_each_allocation(startup_unreg(1, many_pairs(500)), kVsUnreg, nothing), 500U);
}

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

/// A long list tells the pair of zeros from a place that is free.
TEST(PairsOfAMessage, MayBeZeroInLongLists) {
    Pairs pairs;
    for (uint32_t i = 1; i <= 40; ++i) pairs.emplace_back(i, i);
    pairs.emplace_back(0, 0);
    const auto long_list = [&pairs](Pair last) {
        Pairs all = pairs;
        all.push_back(last);
        return read(kVsUnregReader.read, startup_unreg(1, all)).status;
    };
    EXPECT_EQ(long_list({0, 1}), kOk);
    EXPECT_EQ(long_list({0, 0}), kDuplicate);
    EXPECT_EQ(long_list({0, kAny}), kDuplicate);
}

/// Readers of a million pairs: of one job, of many jobs, and with a duplicate at the end.
TEST(PairsOfAMessage, AMillionTakeTheTimeOfTheirBytes) {
    const uint32_t million = 1000000;
    Pairs pairs;
    for (uint32_t i = 0; i < million; ++i) pairs.emplace_back(i < million / 2 ? 5 : i, i);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(read(read_vs_reg, vs_reg(Order::host, "a", pairs)).list.size(), million);
    pairs.emplace_back(5, kAny);
    EXPECT_EQ(read(kVsUnregReader.read, startup_unreg(1, pairs)).status, kDuplicate);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(PairsOfAMessage, BillionsTakeTheTimeOfTheBytes) {
    const LeaksAreMeant leaks;
    Bytes bytes = startup_unreg(1, {{1, 1}});
    put_word(bytes, 48, 0xFFFFFFFF);
    const FailingMemory memory;
    EXPECT_EQ(kVsUnregReader.read(bytes.data(), static_cast<uint32_t>(bytes.size())).status,
              kLength);
    EXPECT_LE(memory.bytes(), 1000U);
}

// ---- Configuration groups ----------------------------------------------------------------------

TEST(ConfigurationGroups, AreNamedByOnePath) {
    const struct {
        std::vector<std::string> names;
        const char* path;
    } rows[] = {
        {{}, "cfg/gl/a/config-group//"},
        {{"alpha"}, "cfg/gl/a/config-group/alpha/"},
        {{"alpha", "beta"}, "cfg/gl/a/config-group/alpha|beta/"},
        {{"", "b", ""}, "cfg/gl/a/config-group/|b|/"},
        {{std::string("ab\0cd", 5)}, "cfg/gl/a/config-group/ab/"},
    };
    for (const auto& row : rows) {
        const Result result = read(read_cfg_grp, cfg_grp(0x1234, row.names));
        EXPECT_EQ(result.status, kOk);
        EXPECT_EQ(result.path, row.path);
        EXPECT_EQ(result.words,
                  (std::vector<uint32_t>{0xFFFFFFFF, 4, static_cast<uint32_t>(row.names.size()),
                                         0x1234, 0xc4653601, 0xFFFFFFFF, 0, 0, 0xFFFFFFFF}));
    }
}

TEST(ConfigurationGroups, HaveTheirLengthsConvertedInPlace) {
    Bytes bytes = cfg_grp(1, {"alpha", "beta"});
    bytes.resize(bytes.size() + 4);
    EXPECT_EQ(read_cfg_grp(bytes.data(), static_cast<uint32_t>(bytes.size() - 4)).status, kOk);
    EXPECT_EQ(word_at(bytes, 48), 6U);
    EXPECT_EQ(word_at(bytes, 64), 5U);
}

TEST(ConfigurationGroups, AMalformedLengthIsConvertedInEveryRoundThatRemains) {
    for (uint32_t count = 1; count < 8; ++count) {
        Bytes bytes = cfg_grp(1, {"alpha"});
        put_word(bytes, 44, count);
        put_word(bytes, 48, reversed(1000));
        bytes.resize(bytes.size() + 4);
        EXPECT_EQ(read_cfg_grp(bytes.data(), 64).status, kLength);
        EXPECT_EQ(word_at(bytes, 48), count % 2 == 0 ? reversed(1000) : 1000) << count;
    }
}

TEST(ConfigurationGroups, ALengthIsConvertedBehindTheMessage) {
    Bytes bytes = cfg_grp(1, {"alpha"});
    put_word(bytes, 44, 2);
    bytes.resize(bytes.size() + 4);
    put_word(bytes, 64, 9);
    EXPECT_EQ(read_cfg_grp(bytes.data(), 64).status, kLength);
    EXPECT_EQ(word_at(bytes, 64), reversed(9));
}

TEST(ConfigurationGroups, BillionsTakeTheTimeAndMemoryOfTheMessage) {
    const auto start = std::chrono::steady_clock::now();
    for (const uint32_t claimed : {0xFFFFFFFFU, 0xFFFFFFFEU}) {
        Bytes bytes = cfg_grp(1, {"alpha", "beta"});
        put_word(bytes, 44, claimed);
        put_word(bytes, 64, reversed(1000));
        bytes.resize(bytes.size() + 4);
        const auto length = static_cast<uint32_t>(bytes.size() - 4);
        std::size_t asked_for;
        {
            const FailingMemory memory;
            EXPECT_EQ(read_cfg_grp(bytes.data(), length).status, kLength);
            asked_for = FailingMemory::bytes();
            EXPECT_EQ(memory.outstanding(), 0);
        }
        EXPECT_LE(asked_for, 64U);
        EXPECT_EQ(word_at(bytes, 48), 6U);
        EXPECT_EQ(word_at(bytes, 64), claimed % 2 == 0 ? 1000 : reversed(1000));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

/// Status of reading a request whose allocations from number `failing` on fail once.
uint32_t read_without_memory(const Bytes& request, std::size_t failing) {
    Bytes bytes = request;
    bytes.resize(bytes.size() + 4);
    Outs out;
    uint32_t record[5];
    uint32_t status;
    long outstanding;
    {
        const FailingMemory memory(failing);
        status = kelvo_common_msg_cfg_grp_interpret(
            bytes.data(), static_cast<uint32_t>(request.size()), &out.first, &out.words[0], record,
            &out.words[1], &out.words[2], &out.words[3]);
        outstanding = FailingMemory::outstanding();
    }
    EXPECT_EQ(outstanding, 0);
    (void)out.result(status);
    return status;
}

TEST(ConfigurationGroups, NeedMemoryForNamesAndPath) {
    for (const auto& names : {std::vector<std::string>{}, std::vector<std::string>{"a", "b"}}) {
        const Bytes request = cfg_grp(1, names);
        EXPECT_EQ(read_without_memory(request, 0), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(read_without_memory(request, 1), KELVO_ERR_NO_MEMORY);
    }
}

TEST(ConfigurationGroups, TakeTheMemoryOfTheirNamesAndPath) {
    const struct {
        std::vector<std::string> names;
        std::size_t places;
        std::string path;
    } rows[] = {
        {{}, 1, "cfg/gl/a/config-group//"},
        {{"alpha"}, 1, "cfg/gl/a/config-group/alpha/"},
        {{"alpha", "", "beta"}, 3, "cfg/gl/a/config-group/alpha||beta/"},
    };
    for (const auto& row : rows) {
        Bytes bytes = cfg_grp(1, row.names);
        bytes.resize(bytes.size() + 4);
        std::size_t asked_for;
        {
            const FailingMemory memory;
            Outs out;
            uint32_t record[5];
            EXPECT_EQ(kelvo_common_msg_cfg_grp_interpret(
                          bytes.data(), static_cast<uint32_t>(bytes.size() - 4), &out.first,
                          &out.words[0], record, &out.words[1], &out.words[2], &out.words[3]),
                      kOk);
            asked_for = FailingMemory::bytes();
            EXPECT_STREQ(out.first, row.path.c_str());
            free(out.first);
            EXPECT_EQ(FailingMemory::outstanding(), 0);
        }
        EXPECT_EQ(asked_for, row.places * sizeof(char*) + row.path.size() + 1) << row.path;
    }
}

TEST(ConfigurationGroups, MemoryIsAskedForBetweenTheChecks) {
    Bytes malformed = cfg_grp(1, {"a"});
    put_word(malformed, 48, 0);
    EXPECT_EQ(read_without_memory(malformed, 0), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(read_without_memory(malformed, 1), kContent);
    Bytes longer = cfg_grp(1, {"a"});
    longer.push_back(0);
    EXPECT_EQ(read_without_memory(longer, 1), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(read_without_memory(longer, 2), kLength);
    EXPECT_EQ(read_without_memory(Bytes(47), 0), kLength);
}

}  // namespace
