// SPDX-License-Identifier: Apache-2.0
//
// kelvo status: what a status code means.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "input.h"
#include "kelvo_platform_host.h"
#include "kelvo_status.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

struct Known {
    std::uint32_t code;
    const char* name;
    const char* meaning;
};

constexpr Known kKnown[] = {
#define KELVO_KNOWN(name, meaning) {name, #name, meaning},
    KELVO_STATUS_LIST(KELVO_KNOWN) PLATFORM_HOST_STATUS_LIST(KELVO_KNOWN)
#undef KELVO_KNOWN
        {IFDB_UNKNOWN_INTERFACE, "IFDB_UNKNOWN_INTERFACE", "the interface is unknown"},
};

/// What a name may be left without.
constexpr std::string_view kPrefix = "KELVO_ERR_";

/// The code that a text names: by name, with or without what all names begin with, or as a number.
std::optional<std::uint32_t> code_of(const std::string& text) {
    for (const Known& known : kKnown) {
        const std::string_view name = known.name;
        if (text == name) return known.code;
        if (name.starts_with(kPrefix) && text == name.substr(kPrefix.size())) return known.code;
    }
    if (text.empty() || text[0] < '0' || text[0] > '9') return std::nullopt;
    char* end;
    errno = 0;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 0);
    if (*end != '\0' || errno != 0 || number > 0xFFFFFFFF) return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

/// The code without an errno that it carries is what lists have.
const Known* find(std::uint32_t code) {
    for (const Known& known : kKnown) {
        if (known.code == code || known.code == PLATFORM_HOST_STATUS_ERROR(code)) return &known;
    }
    return nullptr;
}

std::string meaning_of(std::uint32_t code, const Known* known) {
    if (code == 0) return "success";
    if (known == nullptr) return errcode_strerror(code);
    const std::string meaning = known->meaning;
    return code == known->code
               ? meaning
               : meaning + ": " + std::strerror(static_cast<int>(PLATFORM_HOST_STATUS_ERRNO(code)));
}

std::vector<std::string> names() {
    std::vector<std::string> list;
    for (const Known& known : kKnown) {
        const std::string_view name = known.name;
        list.emplace_back(name);
        if (name.starts_with(kPrefix)) list.emplace_back(name.substr(kPrefix.size()));
    }
    return list;
}

class Status final : public Verb {
  public:
    Status()
        : Verb({"status",
                "what a status code means",
                "Says what status codes mean: name, number and meaning of each, and what the "
                "platform says of codes that are its own or nobody's.\n\nA code is a name "
                "(KELVO_ERR_NO_OWNER, or NO_OWNER for short) or a number (0xa0813800, or decimal). "
                "With --list, all codes that have a name are shown.",
                {{"kelvo status NO_OWNER 0x40818a00",
                  "KELVO_ERR_NO_OWNER  0xa0813800  no server owns the path\n"
                  "KELVO_ERR_BAD_PATH  0x40818a00  a path or prefix is malformed for resolution\n"},
                 {"kelvo status --json 0",
                  R"({"status":"0","known":true,"code":0,"hex":"0x00000000","name":"success",)"
                  R"("meaning":"success","class":0})"
                  "\n"},
                 {"kelvo status NO_ONWER; echo $?",
                  "kelvo status: argument 1: 'NO_ONWER' is no status: give a name (kelvo status "
                  "--list shows them) or a number of 32 bits (did you mean 'NO_OWNER'?)\n1\n"}}}) {
        input_.declare(*this, "STATUS", "names or numbers of status codes");
        app.add_flag("--list", list_, "show every code that has a name");
        complete_arguments(names());
    }

    Exit run(Output& out) override {
        if (list_) {
            for (const Known& known : kKnown) show(out, known.name, known.code);
            return Exit::ok;
        }
        Exit exit_code = Exit::ok;
        input_.for_each(out, [&](const Record& record) {
            const std::string text(record.text);
            const auto code = code_of(text);
            if (!code) {
                refuse(out, record,
                       "'" + printable(text) +
                           "' is no status: give a name (kelvo status --list shows them) or a "
                           "number of 32 bits" +
                           suggestion(text, names()));
                exit_code = Exit::negative;
            } else {
                show(out, text, *code);
            }
        });
        return exit_code;
    }

  private:
    static void show(Output& out, const std::string& asked, std::uint32_t code) {
        const Known* const known = find(code);
        const std::string name = code == 0 ? "success" : known != nullptr ? known->name : "unknown";
        const std::string meaning = meaning_of(code, known);
        if (out.json()) {
            out.record({{"status", asked},
                        {"known", known != nullptr || code == 0},
                        {"code", code},
                        {"hex", hex(code, 8)},
                        {"name", name},
                        {"meaning", meaning},
                        {"class", code >> 29}});
            return;
        }
        out.line(out.paint(Style::name, name) + "  " + hex(code, 8) + "  " + printable(meaning));
    }

    Input input_;
    bool list_ = false;
};

}  // namespace

std::unique_ptr<Verb> make_status() {
    return std::make_unique<Status>();
}

}  // namespace kelvo::tool
