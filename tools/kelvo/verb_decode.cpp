// SPDX-License-Identifier: Apache-2.0
//
// kelvo decode: what a message says.
#include <unistd.h>

#include <stdexcept>

#include "capture.h"
#include "decode_view.h"
#include "input.h"
#include "message_json.h"
#include "messages.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

using codec::Captured;
using codec::Description;
using codec::Form;

class Decode final : public Verb {
  public:
    Decode()
        : Verb(
              {"decode",
               "what a message says, field by field",
               "Shows messages: each field with its value, and the status that a receiver answers "
               "with, naming the check that fails, where, and what was found. A broken message is "
               "shown as far as it goes.\n\n"
               "Messages are arguments of hexadecimal digits, or the contents of files, or "
               "standard input: hexadecimal text (also as xxd and hexdump -C print it; an empty "
               "line divides messages, # begins a comment), the bytes of one message, or a "
               "capture (pcap or pcapng, link type 252 WIRESHARK_UPPER_PDU or 147 USER0).\n\n"
               "Requests are told by the type in their header; --as names any other message, and "
               "--list shows the names. Without --order, a message is read in network order, "
               "unless only the sender's order passes all checks; a list request goes by its "
               "conversion marker. network and big are the same, host is this machine's order.\n\n"
               "With --json, every message is an object that kelvo encode makes the same bytes "
               "of. The exit code is 1 when a receiver would refuse one of them.",
               {{R"(kelvo encode '{"message": "item_set", "fields": {"argument": 7, "type": 1, "path": "cfg/if/mtu", "value": 1500}}' | kelvo decode)",
                 R"(item_set, 104 bytes, network order: success
  header
    conversion_marker  0x0
    type               4 set
  reserved  0
  argument  0x7
  names     1
  type      1 INT4
  path      "cfg/if/mtu"
  value     1500
)"},
                {R"(kelvo encode --mutate nul_missing '{"message": "item_lock", "fields": {"path": "cfg/if"}}' | kelvo decode --annotate; echo $?)",
                 R"(item_lock, 56 bytes, network order: KELVO_ERR_MSG_CONTENT
       0  00 00 00 00 00 00 00 00  ........  header.transport          20 zero bytes
       *
      16  00 00 00 00              ....
      20  00 00 00 00              ....      header.conversion_marker  0x0
      24  25 00 00 00              %...      header.type               37 write lock
      28  00 00 00 00 00 00 00 00  ........  header.transport_tail     12 zero bytes
      36  00 00 00 00              ....
      40  00 00 00 07 00 00 00 00  ........  path.length               7
      40  ^ expected a text that ends in NUL; found n = 7, last byte 0x78: KELVO_ERR_MSG_CONTENT
      48  63 66 67 2f 69 66 78 00  cfg/ifx.  path                      "cfg/ifx" without NUL
1
)"},
                {R"(kelvo encode '{"message": "item_lock", "fields": {"path": "cfg/if"}}' | kelvo decode --json)",
                 R"({"message":"item_lock","order":"big","sender":"little","length":56,"status":"success","fields":{"header":{"transport":"0000000000000000000000000000000000000000","conversion_marker":0,"type":37,"transport_tail":"000000000000000000000000"},"path":"cfg/if"}}
)"}}}) {
        add_texts("HEX", arguments_, "messages in hexadecimal digits");
        app.add_option("-f,--file", files_, "read messages from FILE; - is standard input")
            ->type_name("FILE")
            ->allow_extra_args(false);
        add_choice("--as", as_, Description::built_in().names(), "take every message for a");
        add_choice("--order", order_, {"auto", "network", "host", "big", "little"},
                   "the order of the words");
        add_choice("--input", form_, {"auto", "hex", "binary", "pcap"}, "what is read");
        app.add_flag("--annotate", annotate_, "show offset, bytes, field and value line by line");
        app.add_flag("--list", list_, "show the names of the messages");
    }

    Exit run(Output& out) override {
        if (list_) {
            if (!arguments_.empty() || !files_.empty()) {
                throw Failure(Exit::usage, "--list shows names of messages, and decodes none");
            }
            return show_names(out);
        }
        const std::vector<SourcedMessage> messages =
            read_sources(arguments_, files_, form_of(form_), "HEX...");
        Exit exit_code = Exit::ok;
        bool first = true;
        for (const SourcedMessage& message : messages) {
            if (!first && !out.json()) out.line("");
            first = false;
            if (!show(out, message, messages.size() > 1)) exit_code = Exit::negative;
        }
        return exit_code;
    }

  private:
    static Exit show_names(Output& out) {
        for (const codec::Message& message : Description::built_in().messages()) {
            if (out.json()) {
                out.record({{"message", message.name},
                            {"title", message.title},
                            {"types", message.types}});
                continue;
            }
            std::string types;
            for (const std::uint32_t type : message.types) {
                types += (types.empty() ? "" : ", ") + std::to_string(type);
            }
            std::string name = message.name;
            name.resize(20, ' ');
            out.line(out.paint(Style::name, name) + message.title +
                     (types.empty() ? "" : " (" + types + ")"));
        }
        return Exit::ok;
    }

    /// @return whether a receiver accepts the message
    bool show(Output& out, const SourcedMessage& message, bool several) const {
        const Description& description = Description::built_in();
        codec::Hints hints{message.captured.message, order_of(order_)};
        if (!as_.empty()) hints.message = description.find(as_);
        const codec::Decoded decoded = decode(description, message.captured.bytes, hints);
        if (out.json()) {
            out.record(to_json(description, decoded));
        } else {
            if (several) out.write(out.paint(Style::faint, message.where + ": "));
            if (annotate_) {
                show_annotated(out, description, decoded);
            } else {
                show_fields(out, description, decoded);
            }
        }
        return !decoded.failed;
    }

    std::vector<std::string> arguments_;
    std::vector<std::string> files_;
    std::string as_;
    std::string order_ = "auto";
    std::string form_ = "auto";
    bool annotate_ = false;
    bool list_ = false;
};

}  // namespace

std::unique_ptr<Verb> make_decode() {
    return std::make_unique<Decode>();
}

}  // namespace kelvo::tool
