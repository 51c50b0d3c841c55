// SPDX-License-Identifier: Apache-2.0
//
// kelvo order: paths and names in the store's order.
#include <algorithm>
#include <cstring>

#include "input.h"
#include "kelvo_util_compare.h"
#include "status.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

enum class Kind { paths, names, items, comma_items };

std::int32_t compare(Kind kind, const std::string& a, const std::string& b) {
    std::int32_t result = 0;
    kelvo_status status = 0;
    switch (kind) {
        case Kind::paths:
            status = kelvo_util_compare_paths(a.c_str(), b.c_str(), &result);
            break;
        case Kind::names:
            status = kelvo_util_compare_names(a.c_str(), b.c_str(), &result);
            break;
        case Kind::items:
        case Kind::comma_items:
            // The texts are only read; the parameters are not const.
            result = kelvo_util_item_name_compare(const_cast<char*>(a.c_str()),
                                                  const_cast<char*>(b.c_str()),
                                                  kind == Kind::comma_items ? 1 : 0);
            break;
    }
    if (status != 0) throw Failure(Exit::internal, meaning_of_status(status));
    return (result > 0) - (result < 0);
}

/// The first component of a path, with its "/".
std::string first_of(const std::string& path) {
    return path.substr(0, std::min(path.find('/'), path.size() - 1) + 1);
}

/// Why two names that differ stand as they do.
std::string why_names(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) {
        return "'" + printable(a) + "' has " + counted(a.size(), "byte") + ", '" + printable(b) +
               "' has " + std::to_string(b.size());
    }
    const auto at = std::mismatch(a.begin(), a.end(), b.begin()).first - a.begin();
    return "'" + printable(a) + "' and '" + printable(b) +
           "' are equally long and differ in byte " + std::to_string(at + 1);
}

std::string why_paths(std::string a, std::string b) {
    for (std::size_t number = 1;; ++number) {
        if (a.empty() || b.empty()) return "one ends where the other goes on";
        const std::string first = first_of(a);
        const std::string second = first_of(b);
        if (first != second) {
            return "component " + std::to_string(number) + " decides: " + why_names(first, second);
        }
        a.erase(0, first.size());
        b.erase(0, second.size());
    }
}

std::string why(Kind kind, const std::string& a, const std::string& b, std::int32_t result) {
    if (result == 0) return "they are equal";
    if (kind == Kind::paths) return why_paths(a, b);
    if (kind == Kind::names) return why_names(a, b);
    return "their first pair of tokens that differs decides";
}

const std::vector<Example> kExamples = {
    {"kelvo order cfg/gl/if10/mtu cfg/gl/if2 cfg/gl/if9/mtu",
     "cfg/gl/if2\ncfg/gl/if9/mtu\ncfg/gl/if10/mtu\n"},
    {"kelvo order --compare ab/x abc",
     "ab/x is before abc: component 1 decides: 'ab/' and 'abc' are equally long and differ in byte "
     "3\n"},
    {"printf 'b\\naa\\na\\n' | kelvo order --by names --check; echo $?",
     "not in order: standard input:3: 'a' stands behind 'aa', but is before it: 'a' has 1 byte, "
     "'aa' has 2\n1\n"},
};

class Order final : public Verb {
  public:
    Order()
        : Verb({"order", "sort, check or compare paths and names in the store's order",
                "Sorts texts as the store does. Within a component the shorter one is first, and "
                "only equally long ones are told apart by their bytes; so numbered names stand in "
                "the order of their numbers. The '/' behind a component of a path counts: 'ab/' "
                "and 'abc' "
                "are equally long. Equal texts keep their order.\n\n"
                "The order is that of paths unless --by says otherwise: names are compared as a "
                "whole; the names of items are cut into tokens at '/', and for comma-items at ',' "
                "too.",
                kExamples}) {
        input_.declare(*this, "TEXT", "what to bring into order");
        add_choice("--by", by_, {"paths", "names", "items", "comma-items"}, "the order");
        auto* const check = app.add_flag("--check", checks_, "only say whether they are in order");
        app.add_flag("--compare", compares_, "compare two texts, and say why")->excludes(check);
        app.add_flag("-r,--reverse", reverses_, "the last one first");
    }

    Exit run(Output& out) override {
        kind_ = by_ == "paths"   ? Kind::paths
                : by_ == "names" ? Kind::names
                : by_ == "items" ? Kind::items
                                 : Kind::comma_items;
        std::vector<Text> texts;
        input_.for_each(out, [&](const Record& record) {
            texts.push_back({std::string(record.text), record.where()});
        });
        if (compares_) return show_comparison(out, texts);
        return checks_ ? show_check(out, texts) : show_sorted(out, texts);
    }

  private:
    struct Text {
        std::string text;
        std::string where;
    };

    /// Below 0 when the first of the two is to stand first.
    [[nodiscard]] std::int32_t order(const Text& a, const Text& b) const {
        return reverses_ ? compare(kind_, b.text, a.text) : compare(kind_, a.text, b.text);
    }

    Exit show_sorted(Output& out, std::vector<Text>& texts) const {
        std::stable_sort(texts.begin(), texts.end(),
                         [this](const Text& a, const Text& b) { return order(a, b) < 0; });
        for (const Text& text : texts) {
            out.json() ? out.record({{"text", text.text}, {"where", text.where}})
                       : out.data(text.text);
        }
        return Exit::ok;
    }

    Exit show_check(Output& out, const std::vector<Text>& texts) const {
        const auto wrong =
            std::adjacent_find(texts.begin(), texts.end(),
                               [this](const Text& a, const Text& b) { return order(b, a) < 0; });
        if (wrong == texts.end()) {
            out.json() ? out.record({{"in_order", true}, {"count", texts.size()}})
                       : out.line(counted(texts.size(), "text") + " in order");
            return Exit::ok;
        }
        const Text& first = wrong[0];
        const Text& second = wrong[1];
        const std::string reason = why(kind_, second.text, first.text, 1);
        if (out.json()) {
            out.record({{"in_order", false},
                        {"where", second.where},
                        {"text", second.text},
                        {"behind", first.text},
                        {"why", reason}});
        } else {
            out.line(out.paint(Style::bad, "not in order") + ": " + second.where + ": '" +
                     printable(second.text) + "' stands behind '" + printable(first.text) +
                     "', but is before it: " + reason);
        }
        return Exit::negative;
    }

    Exit show_comparison(Output& out, const std::vector<Text>& texts) const {
        if (texts.size() != 2) {
            throw Failure(Exit::usage,
                          "--compare takes two texts, not " + std::to_string(texts.size()));
        }
        const std::string& a = texts[0].text;
        const std::string& b = texts[1].text;
        const std::int32_t result = order(texts[0], texts[1]);
        const std::string reason = why(kind_, a, b, result);
        if (out.json()) {
            out.record({{"first", a}, {"second", b}, {"order", result}, {"why", reason}});
        } else {
            const std::string relation = result < 0    ? " is before "
                                         : result == 0 ? " is equal to "
                                                       : " is behind ";
            out.line(printable(a) + relation + printable(b) + ": " + reason);
        }
        return Exit::ok;
    }

    Input input_;
    std::string by_ = "paths";
    Kind kind_ = Kind::paths;
    bool checks_ = false;
    bool compares_ = false;
    bool reverses_ = false;
};

}  // namespace

std::unique_ptr<Verb> make_order() {
    return std::make_unique<Order>();
}

}  // namespace kelvo::tool
