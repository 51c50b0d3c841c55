// SPDX-License-Identifier: Apache-2.0
//
// kelvo encode: the bytes of a message.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <stdexcept>

#include "capture.h"
#include "input.h"
#include "message_json.h"
#include "mutate.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

using codec::Description;
using codec::Mutant;

/// One message to be written.
struct Encoded {
    const codec::Message* message;
    std::string mutation;  ///< empty: none
    std::vector<std::uint8_t> bytes;
};

class Encode final : public Verb {
  public:
    Encode()
        : Verb(
              {"encode",
               "the bytes of a message, also of a hostile one",
               "Makes messages from what kelvo decode --json prints. By hand, less will do: "
               "\"message\" and \"fields\"; what is left out of the fields is 0 or empty, and "
               "lengths and counts are computed. A piece that is to lie is an object: "
               "{\"length\": 9, \"text\": \"cfg\"} for a string, also with \"hex\", \"fill\" and "
               "\"cell_fill\"; {\"value\": 2, \"fill\": \"ffffffff\"} for a cell. A message with "
               "a \"rest\" (hexadecimal digits, put behind the fields) is taken to the letter: "
               "nothing that does not stand there is added. \"order\" is big (network), little or "
               "host.\n\n"
               "--mutate NAME makes a hostile variant for each place of the message where NAME "
               "can be done; NAME@FIELD does it there only, all does everything everywhere, and "
               "list shows the names.\n\n"
               "Messages are arguments, or the contents of files, or standard input: JSON "
               "objects, one after another or in arrays. They are written as hexadecimal digits, "
               "with a comment that says what was done to a hostile one, or as the bytes "
               "themselves, or as a capture that other programs open (link type 252, "
               "WIRESHARK_UPPER_PDU).",
               {{R"(kelvo encode '{"message": "item_lock", "fields": {"path": "cfg/if"}}')",
                 R"(0000000000000000000000000000000000000000000000002500000000000000000000000000000000000007000000006366672f69660000
)"},
                {R"(kelvo encode --mutate length_max@path '{"message": "item_lock", "fields": {"path": "cfg/if"}}' | kelvo decode; echo $?)",
                 R"(item_lock, 56 bytes, network order: KELVO_ERR_MSG_LENGTH
  header
    conversion_marker  0x0
    type               37 write lock
  path    missing (4294967295 bytes claimed)
  rest  6366672f69660000
  refused at 40, path: expected room for the text: left >= 8 + n; found n = 4294967295, left = 16
1
)"},
                {R"(kelvo encode --to pcap -o lock.pcap '{"message": "item_lock", "fields": {"path": "cfg/if"}}'; kelvo decode -f lock.pcap; rm lock.pcap)",
                 R"(item_lock, 56 bytes, network order: success
  header
    conversion_marker  0x0
    type               37 write lock
  path    "cfg/if"
)"}}}) {
        add_texts("JSON", arguments_, "messages as JSON objects");
        app.add_option("-f,--file", files_, "read messages from FILE; - is standard input")
            ->type_name("FILE")
            ->allow_extra_args(false);
        CLI::Option* const records = app.get_option("--json");
        add_choice("--to", to_, {"hex", "binary", "pcap"}, "what is written")->excludes(records);
        app.add_option("-o,--output", output_, "write to FILE instead of standard output")
            ->type_name("FILE")
            ->excludes(records);
        app.add_option("--mutate", mutation_, "make hostile variants; list shows them")
            ->type_name("NAME");
    }

    Exit run(Output& out) override {
        if (mutation_ == "list") return show_mutations(out);
        std::vector<Encoded> all;
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            read("argument " + std::to_string(i + 1), arguments_[i], all);
        }
        for (const std::string& file : sources()) {
            const auto bytes = read_all(file);
            read(printable(name_of_file(file)), {bytes.begin(), bytes.end()}, all);
        }
        write(out, all);
        return Exit::ok;
    }

  private:
    static Exit show_mutations(Output& out) {
        for (const codec::Mutation& mutation : codec::mutations()) {
            if (out.json()) {
                out.record({{"mutation", mutation.name}, {"what", mutation.what}});
                continue;
            }
            std::string name = mutation.name;
            name.resize(20, ' ');
            out.line(out.paint(Style::name, name) + mutation.what);
        }
        return Exit::ok;
    }

    [[nodiscard]] std::vector<std::string> sources() const {
        if (!files_.empty() || !arguments_.empty()) return files_;
        if (isatty(STDIN_FILENO) != 0) {
            throw Failure(Exit::usage,
                          "nothing to encode: give JSON..., --file FILE or standard input");
        }
        return {"-"};
    }

    /// The JSON values of a text, one after another.
    void read(const std::string& where, const std::string& text, std::vector<Encoded>& all) const {
        std::size_t begin = text.find_first_not_of(" \t\r\n");
        if (begin == std::string::npos) {
            throw Failure(Exit::input, where + ": there is no JSON in it");
        }
        std::size_t number = 0;
        while (begin != std::string::npos) {
            const std::size_t end = end_of_value(text, begin);
            add(where, number, parsed(where, text, begin, end), all);
            begin = text.find_first_not_of(" \t\r\n", end);
        }
    }
    static Json parsed(const std::string& where, const std::string& text, std::size_t begin,
                       std::size_t end) {
        try {
            return Json::parse(text.begin() + static_cast<std::ptrdiff_t>(begin),
                               text.begin() + static_cast<std::ptrdiff_t>(end));
        } catch (const Json::parse_error& error) {
            // Of "[...] parse error at line 1, column 2: why", counted from the value's beginning.
            const std::string what = error.what();
            const std::size_t why = what.find(": ");
            const std::size_t at = begin + std::max<std::size_t>(error.byte, 1) - 1;
            const std::string before = text.substr(0, at);
            const auto line = 1 + std::count(before.begin(), before.end(), '\n');
            const std::size_t column = at - (before.rfind('\n') + 1) + 1;
            throw Failure(Exit::input, where + ", line " + std::to_string(line) + ", column " +
                                           std::to_string(column) + ": no JSON" +
                                           printable(what.substr(std::min(why, what.size()))));
        }
    }
    /// Where the value that begins at a place ends: where its brackets close.
    static std::size_t end_of_value(const std::string& text, std::size_t begin) {
        int depth = 0;
        bool quoted = false;
        for (std::size_t i = begin; i < text.size(); ++i) {
            const char c = text[i];
            if (quoted) {
                if (c == '\\') ++i;
                if (c == '"') quoted = false;
                continue;
            }
            if (c == '"') quoted = true;
            if (c == '{' || c == '[') ++depth;
            if ((c == '}' || c == ']') && --depth <= 0) return i + 1;
        }
        return text.size();
    }

    /// Adds a message, or those of an array, and counts them.
    void add(const std::string& where, std::size_t& number, const Json& value,
             std::vector<Encoded>& all) const {
        if (value.is_array()) {
            for (const Json& one : value) add(where, number, one, all);
            return;
        }
        ++number;
        try {
            add(value, all);
        } catch (const Failure&) {
            throw;
        } catch (const std::exception& error) {
            throw Failure(Exit::input, where + ", message " + std::to_string(number) + ": " +
                                           printable(error.what()));
        }
    }
    void add(const Json& object, std::vector<Encoded>& all) const {
        const Description& description = Description::built_in();
        const codec::Message& message = message_of(description, object);
        auto bytes = from_json(description, object);
        if (mutation_.empty()) {
            all.push_back({&message, "", std::move(bytes)});
        } else {
            add_mutants(message, order_of_message(object), bytes, all);
        }
    }
    static std::optional<codec::Order> order_of_message(const Json& object) {
        const std::string word = object.value("order", std::string());
        if (word == "big" || word == "network") return codec::kNetwork;
        if (word == "host") return codec::kNative;
        if (word == "little") return codec::Order::little;
        return std::nullopt;
    }

    void add_mutants(const codec::Message& message, std::optional<codec::Order> order,
                     const std::vector<std::uint8_t>& bytes, std::vector<Encoded>& all) const {
        const Description& description = Description::built_in();
        const codec::Decoded decoded = decode(description, bytes, {&message, order});
        const std::size_t at = mutation_.find('@');
        const std::string name = mutation_.substr(0, at);
        const std::string field = at == std::string::npos ? "" : mutation_.substr(at + 1);
        std::vector<std::string> names;
        for (const codec::Mutation& known : codec::mutations()) names.emplace_back(known.name);
        if (name != "all" && std::find(names.begin(), names.end(), name) == names.end()) {
            throw Failure(Exit::usage, "there is no mutation '" + printable(name) +
                                           "'; --mutate list shows them" + suggestion(name, names));
        }
        if (name != "all") names = {name};
        bool any = false;
        for (const std::string& one : names) {
            for (Mutant& mutant : mutate(description, decoded, one, field)) {
                all.push_back({&message, mutant.name, std::move(mutant.bytes)});
                any = true;
            }
        }
        if (!any) {
            throw Failure(Exit::usage, "'" + printable(mutation_) +
                                           "' can be done nowhere in this " + message.name +
                                           (field.empty() ? "" : places_of(decoded, names)));
        }
    }

    /// Where mutations can be done in a message, as a part of a sentence.
    static std::string places_of(const codec::Decoded& decoded,
                                 const std::vector<std::string>& names) {
        std::set<std::string> fields;
        for (const std::string& name : names) {
            for (const Mutant& mutant : mutate(Description::built_in(), decoded, name, "")) {
                const std::size_t at = mutant.name.find('@');
                if (at != std::string::npos) fields.insert(mutant.name.substr(at + 1));
            }
        }
        std::string list;
        for (const std::string& field : fields) list += (list.empty() ? "" : ", ") + field;
        return list.empty() ? "" : "; it can be at " + list;
    }

    void write(Output& out, const std::vector<Encoded>& all) const {
        if (out.json()) return write_records(out, all);
        if (output_.empty() && to_ == "hex") return write_hex(out, all);
        if (to_ == "binary" && all.size() > 1) {
            throw Failure(Exit::usage,
                          "--to binary takes one message; these are " + std::to_string(all.size()));
        }
        if (to_ != "hex" && output_.empty() && isatty(STDOUT_FILENO) != 0) {
            throw Failure(Exit::usage, "no " + to_ + " to a terminal: give --output FILE");
        }
        out.flush();
        std::FILE* const file =
            output_.empty() ? fdopen(dup(STDOUT_FILENO), "wb") : std::fopen(output_.c_str(), "wb");
        if (file == nullptr) fail();
        if (to_ == "pcap") return write_capture(file, all);
        for (const Encoded& one : all) {
            const std::string text = to_ == "hex" ? as_hex(one, &one == &all.front()) : "";
            const void* const bytes = to_ == "hex" ? static_cast<const void*>(text.data())
                                                   : static_cast<const void*>(one.bytes.data());
            const std::size_t size = to_ == "hex" ? text.size() : one.bytes.size();
            if (std::fwrite(bytes, 1, size, file) != size) fail();
        }
        if (std::fclose(file) != 0) fail();
    }

    static void write_records(Output& out, const std::vector<Encoded>& all) {
        for (const Encoded& one : all) {
            Json record = {{"message", one.message->name}, {"length", one.bytes.size()}};
            if (!one.mutation.empty()) record["mutation"] = one.mutation;
            record["hex"] = codec::to_hex(one.bytes);
            out.record(record);
        }
    }
    static std::string as_hex(const Encoded& one, bool first) {
        std::string text = first ? "" : "\n";
        if (!one.mutation.empty()) text += "# " + one.message->name + " " + one.mutation + "\n";
        return text + codec::to_hex(one.bytes) + "\n";
    }
    static void write_hex(Output& out, const std::vector<Encoded>& all) {
        for (const Encoded& one : all) out.write(as_hex(one, &one == &all.front()));
    }
    void write_capture(std::FILE* file, const std::vector<Encoded>& all) const {
        try {
            codec::CaptureWriter writer(file);
            for (const Encoded& one : all) {
                writer.add(Description::built_in(), *one.message, one.bytes);
            }
            writer.finish();
        } catch (const std::runtime_error& error) {
            throw Failure(Exit::output, target() + ": " + error.what());
        }
    }
    [[nodiscard]] std::string target() const {
        return output_.empty() ? "standard output" : printable(output_);
    }
    [[noreturn]] void fail() const {
        throw Failure(Exit::output, target() + ": " + std::strerror(errno));
    }

    std::vector<std::string> arguments_;
    std::vector<std::string> files_;
    std::string to_ = "hex";
    std::string output_;
    std::string mutation_;
};

}  // namespace

std::unique_ptr<Verb> make_encode() {
    return std::make_unique<Encode>();
}

}  // namespace kelvo::tool
