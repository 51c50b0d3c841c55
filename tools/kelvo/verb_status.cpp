// SPDX-License-Identifier: Apache-2.0
//
// kelvo status: what a status code means.
#include "input.h"
#include "status.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

const std::vector<Example> kExamples = {
    {"kelvo status NO_OWNER 0x40818a00",
     "KELVO_ERR_NO_OWNER  0xa0813800  no server owns the path\n"
     "KELVO_ERR_BAD_PATH  0x40818a00  a path or prefix is malformed for resolution\n"},
    {"kelvo status --json 0",
     R"({"status":"0","known":true,"code":0,"hex":"0x00000000","name":"success",)"
     R"("meaning":"success","class":0})"
     "\n"},
    {"kelvo status NO_ONWER; echo $?",
     "kelvo status: argument 1: 'NO_ONWER' is no status: give a name (kelvo status --list shows "
     "them) or a number of 32 bits (did you mean 'NO_OWNER'?)\n1\n"},
};

class Status final : public Verb {
  public:
    Status()
        : Verb({"status", "what a status code means",
                "Says what status codes mean: name, number and meaning of each, and what the "
                "platform says of codes that are its own or nobody's.\n\nA code is a name "
                "(KELVO_ERR_NO_OWNER, or NO_OWNER for short) or a number (0xa0813800, or decimal). "
                "With --list, all codes that have a name are shown.",
                kExamples}) {
        input_.declare(*this, "STATUS", "names or numbers of status codes");
        app.add_flag("--list", list_, "show every code that has a name");
        complete_arguments(names_of_statuses());
    }

    Exit run(Output& out) override {
        if (list_) {
            if (input_.is_given()) {
                throw Failure(Exit::usage, "--list shows all statuses, and takes no STATUS");
            }
            for (const std::uint32_t code : known_statuses()) show(out, name_of_status(code), code);
            return Exit::ok;
        }
        Exit exit_code = Exit::ok;
        input_.for_each(out, [&](const Record& record) {
            const std::string text(record.text);
            if (const auto code = status_from(text)) {
                show(out, text, *code);
                return;
            }
            exit_code = Exit::negative;
            refuse(out, record,
                   "'" + printable(text) +
                       "' is no status: give a name (kelvo status --list shows them) or a number "
                       "of 32 bits" +
                       suggestion(text, names_of_statuses()));
        });
        return exit_code;
    }

  private:
    static void show(Output& out, const std::string& asked, std::uint32_t code) {
        const std::string name = is_known_status(code) ? name_of_status(code) : "unknown";
        const std::string meaning = meaning_of_status(code);
        if (!out.json()) {
            out.line(out.paint(Style::name, name) + "  " + hex(code, 8) + "  " +
                     printable(meaning));
            return;
        }
        out.record({{"status", asked},
                    {"known", is_known_status(code)},
                    {"code", code},
                    {"hex", hex(code, 8)},
                    {"name", name},
                    {"meaning", meaning},
                    {"class", code >> 29}});
    }

    Input input_;
    bool list_ = false;
};

}  // namespace

std::unique_ptr<Verb> make_status() {
    return std::make_unique<Status>();
}

}  // namespace kelvo::tool
