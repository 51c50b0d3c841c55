// SPDX-License-Identifier: Apache-2.0
//
// Names to and from their encoding, against a library for URIs and against the least that a new
// text costs: one allocation, one copy, one release. Shown as well is what the library promises to
// do with memory, room for the longest outcome, cut to size in the end: with the outcome known
// beforehand, and with the library for URIs in between.
#include <uriparser/Uri.h>

#include <cstdlib>
#include <cstring>

#include "kelvo_string.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

struct Name {
    std::string plain;
    std::string encoded;
};

/// Names of interfaces, groups, files and rules.
const Name kNames[] = {
    {"downstream_port0/0/0/1.100", "downstream_port0%2f0%2f0%2f1%2e100"},
    {"aggregate-port12", "aggregate-port12"},
    {"customer (north) 7", "customer %28north%29 7"},
    {"policy<gold>", "policy%3cgold%3e"},
    {"10.0.0.0/8", "10%2e0%2e0%2e0%2f8"},
    {"archive:/usr/config.cfg", "archive:%2fusr%2fconfig%2ecfg"},
    {"policy PASS,ALL", "policy PASS%2cALL"},
    {"vrf management", "vrf management"},
    {"acl_permit_any", "acl_permit_any"},
};
constexpr std::size_t kCount = std::size(kNames);

enum class Direction { encode, decode };

const std::string& input(const Name& name, Direction direction) {
    return direction == Direction::encode ? name.plain : name.encoded;
}
const std::string& output(const Name& name, Direction direction) {
    return direction == Direction::encode ? name.encoded : name.plain;
}

/// Makes a new text of each name and releases the one before. What the text must be is the output,
/// or, for those who encode in their own way or not at all, something else.
template <Direction kDirection, char* (*kMake)(const std::string&, const std::string&),
          const std::string& (*kExpected)(const Name&, Direction) = output>
struct Texts {
    char* texts[kCount] = {};
    Texts() = default;
    ~Texts() {
        for (char* const text : texts) std::free(text);
    }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;
    void run() {
        for (std::size_t i = 0; i < kCount; ++i) {
            std::free(texts[i]);
            texts[i] = kMake(input(kNames[i], kDirection), output(kNames[i], kDirection));
        }
    }
    [[nodiscard]] bool right() const {
        for (std::size_t i = 0; i < kCount; ++i) {
            if (kExpected(kNames[i], kDirection) != texts[i]) return false;
        }
        return true;
    }
};

/// One who has to find the outcome out.
template <char* (*kMake)(const std::string&)>
char* from(const std::string& text, const std::string& /*outcome*/) {
    return kMake(text);
}

char* encode(const std::string& name) {
    char* out = nullptr;
    std::uint32_t length = 0;
    (void)kelvo_string_encode(name.c_str(), &out, &length);
    return out;
}

char* decode(const std::string& name) {
    char* out = nullptr;
    std::uint32_t length = 0;
    (void)kelvo_string_decode(name.c_str(), &out, &length);
    return out;
}

char* copy(const std::string& name) {
    char* const out = static_cast<char*>(std::malloc(name.size() + 1));
    std::memcpy(out, name.c_str(), name.size() + 1);
    return out;
}

/// What is released when the text has got its size.
char* cut(char* text, const char* end) {
    return static_cast<char*>(std::realloc(text, static_cast<std::size_t>(end - text) + 1));
}

/// The outcome as it is known, in the memory that the interface asks for: all but the work.
template <std::size_t kMostForOne>
char* known(const std::string& name, const std::string& outcome) {
    const char* text = name.c_str();
    benchmark::DoNotOptimize(text);
    char* const out = static_cast<char*>(std::malloc(kMostForOne * std::strlen(text) + 1));
    std::memcpy(out, outcome.c_str(), outcome.size() + 1);
    return cut(out, out + outcome.size());
}

char* uri_encode(const std::string& name) {
    char* const out = static_cast<char*>(std::malloc(3 * name.size() + 1));
    (void)uriEscapeExA(name.data(), name.data() + name.size(), out, URI_FALSE, URI_FALSE);
    return out;
}

char* uri_encode_and_cut(const std::string& name) {
    char* const out = static_cast<char*>(std::malloc(3 * name.size() + 1));
    return cut(out,
               uriEscapeExA(name.data(), name.data() + name.size(), out, URI_FALSE, URI_FALSE));
}

char* uri_decode(const std::string& name) {
    char* const out = copy(name);
    (void)uriUnescapeInPlaceA(out);
    return out;
}

/// A URI has other reserved characters; what its encoding means is the name all the same.
const std::string& uri_output(const Name& name, Direction /*direction*/) {
    static std::string encoded;
    char* const text = uri_encode(name.plain);
    char* const back = uri_decode(text);
    encoded = back == name.plain ? text : "";
    std::free(back);
    std::free(text);
    return encoded;
}

constexpr Direction kEncode = Direction::encode;
constexpr Direction kDecode = Direction::decode;

const Row kEncodeRow(
    {"name_encode", "name: encode", kCount, {0.35, 5.2}},
    {library<Texts<kEncode, from<encode>>>(),
     floor<Texts<kEncode, from<copy>, input>>("malloc + memcpy + free"),
     other<Texts<kEncode, from<uri_encode>, uri_output>>("uriparser"),
     shown<Texts<kEncode, known<3>>>("the floor, strlen and realloc"),
     shown<Texts<kEncode, from<uri_encode_and_cut>, uri_output>>("uriparser + realloc")});
const Row kDecodeRow({"name_decode", "name: decode", kCount, {0.60, 3.8}},
                     {library<Texts<kDecode, from<decode>>>(),
                      floor<Texts<kDecode, from<copy>, input>>("malloc + memcpy + free"),
                      other<Texts<kDecode, from<uri_decode>>>("uriparser"),
                      shown<Texts<kDecode, known<1>>>("the floor, strlen and realloc")});

/// A name of so many bytes, encoded and decoded again.
struct LongName {
    explicit LongName(std::size_t bytes) : name(bytes, 'x') {
        for (std::size_t i = 9; i < bytes; i += 10) name[i] = '/';
    }
    std::string name;
    std::string back;
    void run() {
        char* const encoded = encode(name);
        char* const decoded = decode(encoded);
        back = decoded;
        std::free(encoded);
        std::free(decoded);
    }
    [[nodiscard]] bool right() const { return back == name; }
};
const Growth kLong("name", "a name encoded and decoded again", "bytes", &time_growth<LongName>);

}  // namespace
