// SPDX-License-Identifier: Apache-2.0
//
// The description against the library: for messages by chance, well-formed and damaged, a walk by
// the description gives the status that the library's reader gives, and finds what it hands out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>

#include "kelvo_common_msg.h"
#include "message_json.h"
#include "protocol/random_messages.h"
#include "support/operations.h"
#include "support/startup_lists.h"

namespace {

using namespace kelvo::test;
namespace codec = kelvo::codec;

const codec::Description& description() {
    return codec::Description::built_in();
}

/// A reader of a message: what runs on the bytes, and where the description has what it hands out.
struct Reader {
    const char* message;
    codec::Order order;
    std::vector<kelvo_msg_operation> operations;  ///< one after another, until one fails
    /// Where the description has what is handed out, in the order of the outputs: the words at a
    /// path, "@path" where its content begins, "?path" likewise but null when it is empty, "#path"
    /// how long it is, "%path" two words as 64 bits, "[]" for each entry, "~path" the pairs of a
    /// startup list, newest first, "=number" what is the same for every message.
    const char* places;
};

constexpr codec::Order kHost = codec::kNative;
constexpr codec::Order kNetwork = codec::kNetwork;

const char* const kItem = "@path type @value #value argument";
const char* const kList = "@first @second word1 value1 value2 word2 word4";
const char* const kFind = "@first @second word1 word4 value1 value2 word2 word7 word5 word6";

const Reader kReaders[] = {
    {"item_get", kHost, {KELVO_OPERATION_GET}, "@path argument"},
    {"item_get", kNetwork, {KELVO_OPERATION_GET_NTOH}, "@path argument"},
    {"item_set", kHost, {KELVO_OPERATION_SET}, kItem},
    {"item_set", kNetwork, {KELVO_OPERATION_SET_NTOH}, kItem},
    {"item_create", kHost, {KELVO_OPERATION_CREATE}, kItem},
    {"item_create", kNetwork, {KELVO_OPERATION_CREATE_NTOH}, kItem},
    {"item_delete", kHost, {KELVO_OPERATION_DELETE}, "@path type ?value #value argument"},
    {"item_delete", kNetwork, {KELVO_OPERATION_DELETE_NTOH}, "@path type ?value #value argument"},
    {"item_verify", kHost, {KELVO_OPERATION_VERIFY}, kItem},
    {"item_verify", kNetwork, {KELVO_OPERATION_VERIFY_NTOH}, kItem},
    {"item_get_reply", kNetwork, {KELVO_OPERATION_GET_REPLY_NTOH}, ""},
    {"transaction_start", kNetwork, {KELVO_OPERATION_TRANSACTION_START}, "%first %second options"},
    {"transaction_commit", kNetwork, {KELVO_OPERATION_TRANSACTION_COMMIT}, ""},
    {"transaction_abort", kNetwork, {KELVO_OPERATION_TRANSACTION_ABORT}, ""},
    {"item_lock", kNetwork, {KELVO_OPERATION_WRITE_LOCK}, "@path"},
    {"item_lock", kNetwork, {KELVO_OPERATION_READ_LOCK}, "@path"},
    {"item_lock", kNetwork, {KELVO_OPERATION_UNLOCK}, "@path"},
    {"get_items", kHost, {KELVO_OPERATION_GET_ITEMS}, "@base_path @names[].name count argument"},
    {"get_items",
     kNetwork,
     {KELVO_OPERATION_GET_ITEMS_NTOH},
     "@base_path @names[].name count argument"},
    {"copy", kNetwork, {KELVO_OPERATION_COPY}, "@first @second @third argument"},
    {"bind", kNetwork, {KELVO_OPERATION_BIND}, "version reserved parameters @first @second"},
    {"list", kHost, {KELVO_OPERATION_LIST}, kList},
    {"list", kNetwork, {KELVO_OPERATION_LIST}, kList},
    {"datalist", kHost, {KELVO_OPERATION_DATALIST}, kList},
    {"datalist", kNetwork, {KELVO_OPERATION_DATALIST}, kList},
    {"list_reply", kNetwork, {KELVO_OPERATION_LIST_REPLY_NTOH}, ""},
    {"datalist_reply", kNetwork, {KELVO_OPERATION_DATALIST_REPLY_NTOH}, ""},
    {"find", kHost, {KELVO_OPERATION_FIND}, kFind},
    {"find", kNetwork, {KELVO_OPERATION_FIND_NTOH}, kFind},
    {"find", kHost, {KELVO_OPERATION_FIND_HTON}, ""},
    {"find_group", kNetwork, {KELVO_OPERATION_FIND_GROUP_NTOH}, "@string group"},
    {"find_group_reply", kNetwork, {KELVO_OPERATION_FIND_GROUP_REPLY_NTOH}, ""},
    {"nfn_reg", kHost, {KELVO_OPERATION_NFN_REG}, "registration_id @client_block parameter @path"},
    {"nfn_reg",
     kNetwork,
     {KELVO_OPERATION_NFN_REG_NTOH, KELVO_OPERATION_NFN_REG},
     "registration_id @client_block parameter @path"},
    {"vrfn_reg",
     kHost,
     {KELVO_OPERATION_VRFN_REG},
     "registration_id w2 w3 w4 w5 w6 w7 @client_block count @paths[].path"},
    {"vs_reg",
     kHost,
     {KELVO_OPERATION_VS_REG},
     "registration_id @client_block parameter @path pairs ~startup"},
    {"vs_reg",
     kNetwork,
     {KELVO_OPERATION_VS_REG_NTOH, KELVO_OPERATION_VS_REG},
     "registration_id @client_block parameter @path pairs ~startup"},
    {"edms_reg", kHost, {KELVO_OPERATION_EDMS_REG}, "@client_block parameter @path pairs ~startup"},
    {"edms_reg",
     kNetwork,
     {KELVO_OPERATION_EDMS_REG_NTOH, KELVO_OPERATION_EDMS_REG},
     "@client_block parameter @path pairs ~startup"},
    {"edm_reg", kHost, {KELVO_OPERATION_EDM_REG}, "@client_block w1 w2 w3 w4 w5 @first @second"},
    {"edm_reg",
     kNetwork,
     {KELVO_OPERATION_EDM_REG_NTOH, KELVO_OPERATION_EDM_REG},
     "@client_block w1 w2 w3 w4 w5 @first @second"},
    {"unreg", kHost, {KELVO_OPERATION_NFN_UNREG}, "registration_id"},
    {"unreg", kHost, {KELVO_OPERATION_VRFN_UNREG}, "registration_id"},
    {"unreg", kHost, {KELVO_OPERATION_EDM_UNREG}, "registration_id"},
    {"startup_unreg", kHost, {KELVO_OPERATION_VS_UNREG}, "registration_id pairs ~startup"},
    {"startup_unreg", kHost, {KELVO_OPERATION_EDMS_UNREG}, "registration_id pairs ~startup"},
    {"reg_activate", kNetwork, {KELVO_OPERATION_REG_ACTIVATE_NTOH}, ""},
    {"reg_activate", kHost, {KELVO_OPERATION_REG_ACTIVATE_HTON}, ""},
    {"cb_apply_reply", kNetwork, {KELVO_OPERATION_APPLY_REPLY_NTOH}, ""},
    {"cb_apply_reply", kHost, {KELVO_OPERATION_APPLY_REPLY_HTON}, ""},
    {"cb_verify_reply", kNetwork, {KELVO_OPERATION_VERIFY_REPLY_NTOH}, ""},
    {"cb_verify_reply", kHost, {KELVO_OPERATION_VERIFY_REPLY_HTON}, ""},
    {"errorset", kNetwork, {KELVO_OPERATION_ERRORSET_NTOH}, ""},
    {"errorset", kHost, {KELVO_OPERATION_ERRORSET_HTON}, ""},
    {"sm_cb_response", kNetwork, {KELVO_OPERATION_SM_CB_RESPONSE_NTOH}, ""},
    {"sm_cb_response", kHost, {KELVO_OPERATION_SM_CB_RESPONSE_HTON}, ""},
    {"smset_reply", kNetwork, {KELVO_OPERATION_SMSET_REPLY_NTOH}, ""},
    {"smset_reply", kHost, {KELVO_OPERATION_SMSET_REPLY_HTON}, ""},
    {"cfg_grp",
     kHost,
     {KELVO_OPERATION_CFG_GRP},
     "=0xffffffff =0xc4653601 =0xffffffff =0 =0 =0xffffffff =4 count w1"},
};

/// 64 bits as two words lie in memory.
std::uint64_t joined(std::uint32_t first, std::uint32_t second) {
    const std::uint32_t words[2] = {first, second};
    std::uint64_t both;
    std::memcpy(&both, words, sizeof both);
    return both;
}

/// What a reader should hand out, by the description.
class Expected {
  public:
    explicit Expected(const codec::Decoded& decoded) : decoded_(decoded) {}

    std::vector<std::uint64_t> at(const char* places) {
        std::istringstream all(places);
        for (std::string place; all >> place;) add(place);
        return values_;
    }

  private:
    void add(const std::string& place) {
        const std::size_t entries = place.find("[].");
        if (entries != std::string::npos) {
            const codec::Node* const list = find(decoded_.nodes, place.substr(1, entries - 1));
            for (const codec::Node& entry : list->children) {
                values_.push_back(entry.children.at(0).content_at);
            }
            return;
        }
        const char how = place[0];
        const bool plain = std::isalpha(static_cast<unsigned char>(how)) != 0;
        if (how == '=') return values_.push_back(std::stoull(place.substr(1), nullptr, 0));
        const codec::Node* const node = find(decoded_.nodes, plain ? place : place.substr(1));
        ASSERT_NE(node, nullptr) << place;
        switch (how) {
            case '@':
                values_.push_back(node->what == codec::Node::What::bytes ? node->at
                                                                         : node->content_at);
                break;
            case '?':
                values_.push_back(node->content == 0 ? kNullPointer : node->content_at);
                break;
            case '#':
                values_.push_back(node->content);
                break;
            case '%':
                values_.push_back(joined(node->words[0], node->words[1]));
                break;
            case '~':
                for (auto pair = node->children.rbegin(); pair != node->children.rend(); ++pair) {
                    for (const codec::Node& id : pair->children) values_.push_back(id.words[0]);
                }
                break;
            default:
                values_.insert(values_.end(), node->words.begin(), node->words.end());
        }
    }

    const codec::Decoded& decoded_;
    std::vector<std::uint64_t> values_;
};

/// Readers touch bytes beyond a message; these are zero, as the description has them.
constexpr std::size_t kBehind = 65536;

class Block {
  public:
    explicit Block(const std::vector<std::uint8_t>& message)
        : bytes_(message), size_(static_cast<std::uint32_t>(message.size())) {
        bytes_.resize(size_ + kBehind);
    }
    void run(kelvo_msg_operation operation, Outcome& outcome) {
        kelvo::test::run(operation, bytes_.data(), size_, outcome);
    }
    [[nodiscard]] std::vector<std::uint8_t> message() const {
        return {bytes_.begin(), bytes_.begin() + size_};
    }

  private:
    std::vector<std::uint8_t> bytes_;
    std::uint32_t size_;
};

/// Entries that a list claims beyond the end of the message.
std::uint64_t most_beyond(const std::vector<codec::Node>& nodes) {
    std::uint64_t most = 0;
    for (const codec::Node& node : nodes) {
        most = std::max({most, node.beyond, most_beyond(node.children)});
    }
    return most;
}

/// Whether the library may be given these bytes: some readers reach as far as a message tells them,
/// and the reader of an item get in network order ends the process over a wrong count.
bool may_run(const Reader& reader, const codec::Decoded& decoded) {
    if (reader.operations[0] == KELVO_OPERATION_GET_NTOH) {
        return decoded.bytes.size() >= 56 &&
               codec::load_word(decoded.bytes, 48, codec::kNetwork) == 1;
    }
    return decoded.end < decoded.bytes.size() + kBehind / 2 && most_beyond(decoded.nodes) < 1000;
}

bool converts_to_network(kelvo_msg_operation operation) {
    return std::string_view(name_of(operation)).ends_with("_hton");
}

constexpr std::uint64_t kMarkerAt = offsetof(kelvo_msg_header, conversion_marker);

/// Sets the conversion marker of a list request, or makes sure that there is none.
void mark(const Reader& reader, std::vector<std::uint8_t>& bytes) {
    if (description().find(reader.message)->order != codec::MessageOrder::marker) return;
    const std::uint32_t marker = reader.order == kHost ? KELVO_MSG_CONVERTED : 0;
    if (bytes.size() >= kMarkerAt + 4) std::memcpy(bytes.data() + kMarkerAt, &marker, 4);
}

/// The message in the other byte order, as an operation that converts leaves it.
std::vector<std::uint8_t> converted(const codec::Decoded& decoded) {
    codec::Json json = to_json(description(), decoded);
    json["order"] = name_of(codec::opposite(decoded.order));
    auto bytes = from_json(description(), json);
    if (decoded.message->order == codec::MessageOrder::marker) {
        const std::uint32_t marker = KELVO_MSG_CONVERTED;
        std::memcpy(bytes.data() + kMarkerAt, &marker, 4);
    }
    return bytes;
}

class Readers : public testing::TestWithParam<Reader> {
  protected:
    /// Runs the reader and compares status and outputs. @return whether the message was accepted
    static bool compare(const Reader& reader, const std::vector<std::uint8_t>& bytes,
                        bool well_formed) {
        const codec::Decoded decoded =
            decode(description(), bytes, {description().find(reader.message), reader.order});
        if (!may_run(reader, decoded)) return false;
        Block block(bytes);
        Outcome outcome;
        for (const kelvo_msg_operation operation : reader.operations) {
            block.run(operation, outcome);
            if (outcome.status != 0) break;
        }
        // Where a message is converted first, all its lengths are found before any duplicate.
        const bool length_first = reader.operations.size() == 2 &&
                                  decoded.status() == KELVO_ERR_MSG_DUPLICATE &&
                                  outcome.status == KELVO_ERR_MSG_LENGTH;
        if (!length_first) {
            EXPECT_EQ(outcome.status, decoded.status())
                << reader.message << ' ' << name_of(reader.operations.back()) << '\n'
                << to_json(description(), decoded).dump(1);
        }
        if (outcome.status != 0 || decoded.failed) return false;

        const auto expected = Expected(decoded).at(reader.places);
        const bool has_places = *reader.places != 0;
        EXPECT_EQ(outcome.outputs.size(), expected.size());
        for (std::size_t i = 0; has_places && i < expected.size() && i < outcome.outputs.size();
             ++i) {
            EXPECT_EQ(outcome.outputs[i].value, expected[i])
                << reader.message << ": " << outcome.outputs[i].name << '\n'
                << to_json(description(), decoded).dump(1);
        }
        const bool converts = reader.order == kNetwork || converts_to_network(reader.operations[0]);
        if (well_formed && converts) {
            EXPECT_EQ(codec::to_hex(block.message()), codec::to_hex(converted(decoded)))
                << reader.message;
        }
        return true;
    }
};

TEST_P(Readers, AgreeWithTheDescription) {
    const LeaksAreMeant leaks;  // of registrations that fail
    const Reader& reader = GetParam();
    const codec::Message& message = *description().find(reader.message);
    Random random(20);
    std::uint32_t refused = 0;
    for (int round = 0; round < 100; ++round) {
        auto bytes = from_json(description(), random_message(random, message, reader.order));
        mark(reader, bytes);
        ASSERT_TRUE(compare(reader, bytes, true)) << message.name << ' ' << codec::to_hex(bytes);
        for (int damages = 0; damages < 20; ++damages) {
            auto damaged = bytes;
            damage(random, damaged);
            if (random.below(4) == 0) damage(random, damaged);
            mark(reader, damaged);
            if (!compare(reader, damaged, false)) ++refused;
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(refused, 100u);
}

INSTANTIATE_TEST_SUITE_P(All, Readers, testing::ValuesIn(kReaders), [](const auto& row) {
    std::string name = row.param.message;
    name += row.param.order == kNetwork ? "_network_" : "_host_";
    return name + name_of(row.param.operations.back());
});

/// All values of the outputs of one name.
std::vector<std::uint64_t> all(const Outcome& outcome, std::string_view name) {
    std::vector<std::uint64_t> values;
    for (const Output& output : outcome.outputs) {
        if (output.name == name) values.push_back(output.value);
    }
    return values;
}

/// What a function says of each entry of a list.
template <class Of>
std::vector<std::uint64_t> each(const codec::Decoded& decoded, const char* list, Of of) {
    std::vector<std::uint64_t> values;
    const codec::Node* const node = find(decoded.nodes, list);
    if (node == nullptr) return values;
    for (const codec::Node& entry : node->children) values.push_back(of(entry.children));
    return values;
}
std::uint64_t word_of(const std::vector<codec::Node>& entry, const char* name) {
    return find(entry, name)->words.at(0);
}
std::uint64_t content_of(const std::vector<codec::Node>& entry, const char* name) {
    const codec::Node* const node = find(entry, name);
    return node->content == 0 ? kNullPointer : node->content_at;
}

/// A reader that is driven until it fails takes the items that the description finds, and fails
/// where and how the walk does, or has come to the end of what it was asked for.
void compare_bulk(const codec::Decoded& decoded, const Outcome& outcome, bool reply) {
    const std::string shown = to_json(description(), decoded).dump(1);
    if (outcome.status != 0) {
        EXPECT_EQ(outcome.status, decoded.status()) << shown;
        return;
    }
    const auto steps = all(outcome, "status of next");
    const std::size_t taken = steps.size() - 1;
    const std::uint64_t claimed = reply ? UINT64_MAX : word_of(decoded.nodes, "count");
    const std::uint64_t last = all(outcome, "current").back();
    if (!decoded.failed) {
        EXPECT_GE(taken, reply ? 0 : claimed) << shown;
        EXPECT_GE(last, reply ? decoded.bytes.size() : 0) << shown;
        const auto types =
            each(decoded, "items", [](const auto& item) { return word_of(item, "type"); });
        auto handed_out = all(outcome, "type");
        handed_out.resize(types.size());
        EXPECT_EQ(handed_out, types) << shown;
        const auto names =
            each(decoded, "items", [](const auto& item) { return content_of(item, "name"); });
        handed_out = all(outcome, "name");
        handed_out.resize(names.size());
        EXPECT_EQ(handed_out, names) << shown;
    } else {
        EXPECT_LT(taken, claimed) << shown;
        EXPECT_EQ(steps.back(), decoded.status()) << shown;
    }
}

void compare_notifyset(const codec::Decoded& decoded, const Outcome& outcome) {
    const std::string shown = to_json(description(), decoded).dump(1);
    ASSERT_EQ(outcome.status, decoded.status()) << shown;
    if (decoded.failed) return;
    const auto list = [&](const char* output, const auto& of) {
        auto handed_out = all(outcome, output);
        const auto expected = each(decoded, "entries", of);
        handed_out.resize(expected.size());
        EXPECT_EQ(handed_out, expected) << output << '\n' << shown;
    };
    list("kind", [](const auto& entry) { return word_of(entry, "kind"); });
    list("type", [](const auto& entry) { return word_of(entry, "type"); });
    list("name", [](const auto& entry) { return find(entry, "name")->content_at; });
    list("first_length", [](const auto& entry) {
        return word_of(entry, "kind") == 1 ? 0 : find(entry, "first")->content;
    });
    list("second", [](const auto& entry) {
        return word_of(entry, "kind") == 4 ? kNullPointer : find(entry, "second")->content_at;
    });
}

/// Well-formed messages and damaged ones, decoded and read.
template <class Compare>
void drive(const char* name, kelvo_msg_operation operation, Compare compare) {
    const codec::Message& message = *description().find(name);
    Random random(21);
    std::uint32_t refused = 0;
    for (int round = 0; round < 1500 && !testing::Test::HasFailure(); ++round) {
        auto bytes = from_json(description(), random_message(random, message, kNetwork));
        for (int damages = round % 4; damages > 0; --damages) damage(random, bytes);
        const codec::Decoded decoded = decode(description(), bytes, {&message, kNetwork});
        ASSERT_FALSE(round % 4 == 0 && decoded.failed);
        if (decoded.failed) ++refused;
        Block block(bytes);
        Outcome outcome;
        block.run(operation, outcome);
        compare(decoded, outcome);
    }
    EXPECT_GT(refused, 200u);
}

TEST(DrivenReaders, OfBulkRequestsAgreeWithTheDescription) {
    drive("bulk", KELVO_OPERATION_BULK_NEXT,
          [](const auto& decoded, const auto& outcome) { compare_bulk(decoded, outcome, false); });
}

TEST(DrivenReaders, OfBulkRepliesAgreeWithTheDescription) {
    drive("bulk_reply", KELVO_OPERATION_BULK_REPLY_NEXT,
          [](const auto& decoded, const auto& outcome) { compare_bulk(decoded, outcome, true); });
}

TEST(DrivenReaders, OfNotificationSetsAgreeWithTheDescription) {
    drive("notifyset", KELVO_OPERATION_NOTIFYSET_NEXT, compare_notifyset);
    drive("notifyset", KELVO_OPERATION_NOTIFYSET_VALUES, compare_notifyset);
}

}  // namespace
