// SPDX-License-Identifier: Apache-2.0
//
// kelvo match: which paths lie within a pattern, component by component.
#include "input.h"
#include "kelvo_status.h"
#include "kelvo_util_path.h"
#include "status.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

/// The components of a path, each with its "/".
std::vector<std::string> components_of(const std::string& path) {
    std::vector<std::string> components;
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size() - 1) + 1;
        components.push_back(path.substr(begin, end - begin));
        begin = end;
    }
    return components;
}

/// A compiled pattern.
class Pattern {
  public:
    Pattern(const std::string& text, bool dot_is_special) {
        if (text.empty()) throw Failure(Exit::usage, "the pattern is empty");
        const kelvo_status status =
            kelvo_util_path_regcomp(text.c_str(), &first_, dot_is_special ? 1 : 0);
        if (status == 0) return;
        if (status != KELVO_ERR_BAD_REGEXP)
            throw Failure(Exit::internal, meaning_of_status(status));
        refuse(text, dot_is_special);
    }
    ~Pattern() { kelvo_util_path_regfree(first_); }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    /// The library's answer for a whole path.
    [[nodiscard]] bool matches(const std::string& path) const {
        std::uint32_t answer = 0;
        const kelvo_status status = kelvo_util_path_regexec(path.c_str(), first_, &answer);
        if (status != 0) throw Failure(Exit::internal, meaning_of_status(status));
        return answer != 0;
    }

    [[nodiscard]] const kelvo_path_pattern* first() const { return first_; }

  private:
    /// Names the component that is no regular expression: the first that does not compile alone.
    [[noreturn]] static void refuse(const std::string& text, bool dot_is_special) {
        std::size_t number = 0;
        for (const std::string& component : components_of(text)) {
            ++number;
            kelvo_path_pattern* alone = nullptr;
            const kelvo_status status =
                kelvo_util_path_regcomp(component.c_str(), &alone, dot_is_special ? 1 : 0);
            if (status != 0) {
                throw Failure(Exit::usage, "the pattern's component " + std::to_string(number) +
                                               ", '" + printable(component) +
                                               "', is not a valid regular expression, or one that "
                                               "is refused because it nests too deep");
            }
            kelvo_util_path_regfree(alone);
        }
        throw Failure(Exit::usage, "the pattern is not a valid regular expression");
    }

    kelvo_path_pattern* first_ = nullptr;
};

bool ends_in_slash(const std::string& text) {
    return !text.empty() && text.back() == '/';
}

/// A component of the path beside the one of the pattern.
struct Pair {
    std::string component;
    std::string pattern;
    bool is_regexp;
    bool matches;
    std::string why_not;
};

Pair compare(const std::string& component, const kelvo_path_pattern& element) {
    Pair pair{component, element.text, element.is_regexp != 0, false, ""};
    const std::string shown = "'" + printable(component) + "'";
    const std::string wanted = "'" + printable(pair.pattern) + "'";
    if (!pair.is_regexp) {
        pair.matches = component == pair.pattern;
        pair.why_not = shown + " is not " + wanted;
        if (component + "/" == pair.pattern || component == pair.pattern + "/") {
            pair.why_not += ": the '/' at the end counts";
        }
    } else if (ends_in_slash(component) && !ends_in_slash(pair.pattern)) {
        pair.why_not =
            shown + " ends in '/', and the regular expression " + wanted + " is written without";
    } else {
        pair.matches = kelvo_regexec(&element.compiled, component.c_str(), 0, nullptr, 0) == 0;
        pair.why_not = shown + " does not match the regular expression " + wanted + " as a whole";
    }
    if (pair.matches) pair.why_not.clear();
    return pair;
}

struct Comparison {
    std::vector<Pair> pairs;  ///< up to the first that does not match
    std::string why;
};

Comparison compare(const std::string& path, const Pattern& pattern) {
    Comparison comparison;
    const kelvo_path_pattern* element = pattern.first();
    const std::vector<std::string> components = components_of(path);
    for (std::size_t number = 1; number <= components.size(); ++number, ++element) {
        comparison.pairs.push_back(compare(components[number - 1], *element));
        const Pair& pair = comparison.pairs.back();
        if (!pair.matches) {
            comparison.why = "component " + std::to_string(number) + ": " + pair.why_not;
            return comparison;
        }
        if (element->is_last != 0) {
            comparison.why = number == components.size() ? "every component does"
                                                         : "it goes on below the pattern";
            return comparison;
        }
    }
    comparison.why = "it stops on the way to the pattern's end";
    return comparison;
}

const std::vector<Example> kExamples = {
    {"kelvo match 'cfg/gl/int[0-9]/mtu' cfg/gl/int1/mtu cfg/gl/int1 cfg/gl/int1/mtu/x; "
     "echo $?",
     "cfg/gl/int1/mtu: matches: every component does\n"
     "cfg/gl/int1: no match: component 3: 'int1' does not match the regular expression "
     "'int[0-9]/' as a whole\n"
     "cfg/gl/int1/mtu/x: no match: component 4: 'mtu/' is not 'mtu': the '/' at the end counts\n"
     "1\n"},
    {"kelvo match --explain 'cfg/(gl|if)/' cfg/if/act; echo $?",
     "cfg/if/act: matches: it goes on below the pattern\n"
     "  cfg/  cfg/      the same\n"
     "  if/   (gl|if)/  matches\n"
     "0\n"},
    {"kelvo match 'a(b' ab; echo $?",
     "kelvo match: the pattern's component 1, 'a(b', is not a valid regular expression, or one "
     "that is refused because it nests too deep\n"
     "Try 'kelvo match --help'.\n"
     "2\n"},
};

class Match final : public Verb {
  public:
    Match()
        : Verb({"match", "which paths lie within a path pattern, and why not",
                "Matches paths with a pattern whose components may be regular expressions, as the "
                "store does: component by component, until the path or the pattern ends. So a path "
                "that goes on below the pattern matches, and one that stops on the way to its "
                "end.\n\n"
                "A component is a regular expression when it holds any of ( * + ? [ \\ |, a { "
                "before a digit, or, with --dot, a dot; else it is taken to the letter, with its "
                "'/'.",
                kExamples}) {
        add_text("PATTERN", pattern_, "the pattern")->required();
        input_.declare(*this, "PATH", "paths to match with it");
        app.add_flag("--dot", dot_, "a dot makes a component a regular expression too");
        app.add_flag("-x,--explain", explained_, "show each component beside the pattern's");
    }

    Exit run(Output& out) override {
        const Pattern pattern(pattern_, dot_);
        Exit exit_code = Exit::ok;
        input_.for_each(out, [&](const Record& record) {
            const std::string path(record.text);
            if (path.empty()) {
                exit_code = Exit::negative;
                refuse(out, record, "the path is empty; a path has at least one component");
                return;
            }
            const bool matches = pattern.matches(path);
            if (!matches) exit_code = Exit::negative;
            show(out, path, matches, compare(path, pattern));
        });
        return exit_code;
    }

  private:
    void show(Output& out, const std::string& path, bool matches,
              const Comparison& comparison) const {
        if (out.json()) {
            Json object = {{"path", path}, {"matches", matches}, {"why", comparison.why}};
            if (explained_) object["components"] = json_of(comparison);
            out.record(object);
            return;
        }
        out.line(printable(path) + ": " +
                 (matches ? out.paint(Style::good, "matches") : out.paint(Style::bad, "no match")) +
                 ": " + comparison.why);
        if (explained_) show_pairs(out, comparison);
    }

    static Json json_of(const Comparison& comparison) {
        Json list = Json::array();
        for (const Pair& pair : comparison.pairs) {
            list.push_back({{"component", pair.component},
                            {"pattern", pair.pattern},
                            {"is_regexp", pair.is_regexp},
                            {"matches", pair.matches}});
        }
        return list;
    }

    static void show_pairs(Output& out, const Comparison& comparison) {
        std::size_t left = 0;
        std::size_t right = 0;
        for (const Pair& pair : comparison.pairs) {
            left = std::max(left, printable(pair.component).size());
            right = std::max(right, printable(pair.pattern).size());
        }
        for (const Pair& pair : comparison.pairs) {
            const std::string component = printable(pair.component);
            const std::string wanted = printable(pair.pattern);
            const std::string verdict = !pair.matches    ? "no match"
                                        : pair.is_regexp ? "matches"
                                                         : "the same";
            std::string row = "  " + component;
            row.append(left - component.size() + 2, ' ').append(wanted);
            row.append(right - wanted.size() + 2, ' ').append(verdict);
            out.line(row);
        }
    }

    Input input_;
    std::string pattern_;
    bool dot_ = false;
    bool explained_ = false;
};

}  // namespace

std::unique_ptr<Verb> make_match() {
    return std::make_unique<Match>();
}

}  // namespace kelvo::tool
