// SPDX-License-Identifier: Apache-2.0
//
// kelvo name encode, kelvo name decode: any text as one component of a path, and back.
#include <cctype>
#include <cstdlib>

#include "input.h"
#include "kelvo_status.h"
#include "kelvo_string.h"
#include "status.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

/// A text that the library has allocated.
struct Allocated {
    char* text = nullptr;
    std::uint32_t length = 0;

    Allocated() = default;
    ~Allocated() { std::free(text); }
    Allocated(const Allocated&) = delete;
    Allocated& operator=(const Allocated&) = delete;
};

/// Whether a failed status is about the text; any other is a Failure.
void expect_invalid(kelvo_status status) {
    if (status != KELVO_ERR_INVALID_STRING) {
        throw Failure(Exit::internal, meaning_of_status(status));
    }
}

bool is_control(char character) {
    return std::iscntrl(static_cast<unsigned char>(character)) != 0;
}

std::string what_encode_refuses(const std::string& text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!is_control(text[at])) continue;
        return "byte " + std::to_string(at + 1) + " is the control character " +
               hex(static_cast<unsigned char>(text[at]), 2) + ", which a name cannot have";
    }
    return "a byte that a name cannot have";
}

std::string what_decode_refuses(const std::string& text) {
    const auto is_digit = [&](std::size_t at) {
        return at < text.size() && std::isxdigit(static_cast<unsigned char>(text[at])) != 0;
    };
    for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at + 3)) {
        const std::string escape =
            "byte " + std::to_string(at + 1) + ", '" + printable(text.substr(at, 3)) + "': ";
        if (!is_digit(at + 1) || !is_digit(at + 2)) {
            return escape + "two hexadecimal digits follow a '%'; a '%' itself is written %25";
        }
        const auto byte = std::strtoul(text.substr(at + 1, 2).c_str(), nullptr, 16);
        if (byte >= 0x80) return escape + "bytes of 0x80 and above are not escaped";
        if (is_control(static_cast<char>(byte))) {
            return escape + "a name cannot have a control character";
        }
    }
    return "an escape that is malformed";
}

// --- encode -------------------------------------------------------------------------------------

const std::vector<Example> kEncodeExamples = {
    {"kelvo name encode 'eth0/1 up' 100%", "eth0%2f1 up\n100%25\n"},
    {"kelvo name encode --type 4 --json 'eth.*'",
     R"({"text":"eth.*","encoded":"CGROUP_T03_eth%2e%2a"})"
     "\n"},
    {"printf 'two\\twords\\n' | kelvo name encode; echo $?",
     "kelvo name encode: standard input:1: byte 4 is the control character 0x09, which a name "
     "cannot have\n1\n"},
};

class Encode final : public Verb {
  public:
    Encode()
        : Verb({"name encode", "write any text as one component of a path",
                "Encodes names: each of the 25 characters that paths use for their own syntax "
                "becomes a '%' and two hexadecimal digits. With --type the marker of a regex "
                "encoding type stands first.",
                kEncodeExamples}) {
        input_.declare(*this, "NAME", "names, one a component");
        std::vector<std::string> types;
#define KELVO_TYPE_WORD(type, marker) types.emplace_back(#type);
        KELVO_REGEX_MARKER_LIST(KELVO_TYPE_WORD)
#undef KELVO_TYPE_WORD
        add_choice("--type", type_, types, "put the marker of a regex encoding type first");
    }

    Exit run(Output& out) override {
        Exit exit_code = Exit::ok;
        input_.for_each(out, [&](const Record& record) {
            const std::string text(record.text);
            Allocated encoded;
            if (const kelvo_status status = encode(text, encoded)) {
                expect_invalid(status);
                exit_code = Exit::negative;
                refuse(out, record, what_encode_refuses(text));
            } else if (out.json()) {
                out.record({{"text", text}, {"encoded", encoded.text}});
            } else {
                out.data(encoded.text);
            }
        });
        return exit_code;
    }

  private:
    kelvo_status encode(const std::string& text, Allocated& out) const {
        if (type_.empty()) return kelvo_string_encode(text.c_str(), &out.text, &out.length);
        return kelvo_string_encode_regex(text.c_str(), &out.text, &out.length, std::stoi(type_));
    }

    Input input_;
    std::string type_;
};

// --- decode -------------------------------------------------------------------------------------

std::vector<std::uint32_t> types_in(std::uint32_t bits) {
    if (bits == KELVO_REGEX_TYPE_UNKNOWN) return {bits};
    std::vector<std::uint32_t> types;
    for (std::uint32_t bit = 1; bit != 0; bit <<= 1) {
        if ((bits & bit) != 0) types.push_back(bit);
    }
    return types;
}

const std::vector<Example> kDecodeExamples = {
    {"kelvo name decode 'eth0%2f1 up' 100%25", "eth0/1 up\n100%\n"},
    {"kelvo name decode --markers --json CGROUP_T03_eth%2e%2a",
     R"({"text":"CGROUP_T03_eth%2e%2a","decoded":"eth.*","marked":true,"types":[4]})"
     "\n"},
    {"kelvo name decode 100%; echo $?",
     "kelvo name decode: argument 1: byte 4, '%': two hexadecimal digits follow a '%'; a '%' "
     "itself is written %25\n1\n"},
};

class Decode final : public Verb {
  public:
    Decode()
        : Verb({"name decode", "read a component of a path as the text that it stands for",
                "Decodes names: each '%' with two hexadecimal digits becomes the character that it "
                "stands for. With --markers, the markers of regex encoding types are taken out, "
                "and their types shown behind the name; 255 stands for an unknown one.",
                kDecodeExamples}) {
        input_.declare(*this, "NAME", "encoded names");
        app.add_flag("--markers", markers_, "take markers of regex encoding types out");
    }

    Exit run(Output& out) override {
        Exit exit_code = Exit::ok;
        input_.for_each(out, [&](const Record& record) {
            const std::string text(record.text);
            Allocated decoded;
            std::uint32_t types = 0;
            if (const kelvo_status status = decode(text, decoded, types)) {
                expect_invalid(status);
                exit_code = Exit::negative;
                refuse(out, record, what_decode_refuses(text));
            } else {
                show(out, text, decoded.text, types);
            }
        });
        return exit_code;
    }

  private:
    kelvo_status decode(const std::string& text, Allocated& out, std::uint32_t& types) const {
        return markers_ ? kelvo_string_decode_regex(text.c_str(), &out.text, &out.length, &types)
                        : kelvo_string_decode(text.c_str(), &out.text, &out.length);
    }

    void show(Output& out, const std::string& text, const std::string& decoded,
              std::uint32_t types) const {
        const bool is_marked = kelvo_is_string_regex_encoded(text.c_str()) != 0;
        if (out.json()) {
            Json object = {{"text", text}, {"decoded", decoded}};
            if (markers_) object.update(Json{{"marked", is_marked}, {"types", types_in(types)}});
            out.record(object);
            return;
        }
        std::string suffix;
        if (markers_ && is_marked) {
            for (const std::uint32_t type : types_in(types)) suffix += " " + std::to_string(type);
            suffix = "\ttypes" + (suffix.empty() ? " 0" : suffix);
        }
        out.data(decoded + suffix);
    }

    Input input_;
    bool markers_ = false;
};

}  // namespace

std::unique_ptr<Verb> make_name_encode() {
    return std::make_unique<Encode>();
}
std::unique_ptr<Verb> make_name_decode() {
    return std::make_unique<Decode>();
}

}  // namespace kelvo::tool
