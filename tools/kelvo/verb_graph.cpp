// SPDX-License-Identifier: Apache-2.0
//
// kelvo graph: the resolver's state machine as a picture.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <utility>

#include "input.h"
#include "machine.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

/// What the walks of some paths came by.
struct Walked {
    std::set<std::uint32_t> states;
    std::set<std::pair<std::uint32_t, std::uint32_t>> moves;

    [[nodiscard]] bool has(std::uint32_t state) const { return states.contains(state); }
    [[nodiscard]] bool has(std::uint32_t from, std::uint32_t to) const {
        return moves.contains({from, to});
    }

    void add(const Walk& walk) {
        std::vector<std::uint32_t> way;
        for (const Component& component : walk.components) {
            way.insert(way.end(), component.states.begin(), component.states.end());
        }
        way.insert(way.end(), walk.at_end.begin(), walk.at_end.end());
        states.insert(way.begin(), way.end());
        for (std::size_t i = 1; i < way.size(); ++i) moves.insert({way[i - 1], way[i]});
    }
};

std::string shape_of(const kelvo_nr_dfa_state& state) {
    if (state.operation == KELVO_NR_DFA_RESULT) return "doublecircle";
    return state.operation == KELVO_NR_DFA_MATCH ? "diamond" : "box";
}

class Drawing {
  public:
    Drawing(const Walked& walked, bool only_walked) : walked_(walked), only_walked_(only_walked) {}

    [[nodiscard]] std::string text() const {
        const std::string start = std::to_string(kelvo_nr_dfa_start_state);
        std::string out =
            "digraph resolver {\n  start [shape=point];\n  start -> s" + start + ";\n";
        for (std::uint32_t number = 0; number < KELVO_NR_DFA_STATES; ++number) {
            if (is_drawn(number)) draw(out, number);
        }
        return out + "}\n";
    }

  private:
    [[nodiscard]] bool is_drawn(std::uint32_t number) const {
        return !only_walked_ || walked_.has(number);
    }

    void draw(std::string& out, std::uint32_t number) const {
        const kelvo_nr_dfa_state& state = kelvo_nr_dfa_state_table[number];
        const std::string text = std::to_string(number);
        const std::string colour =
            walked_.has(number) ? " style=filled fillcolor=gold" : std::string();
        out += "  s" + text + " [label=\"" + text + "\\n" + label_of(state) +
               "\" shape=" + shape_of(state) + colour + "];\n";
        if (state.operation == KELVO_NR_DFA_RESULT) return;
        draw_edge(out, number, state.on_success, "");
        if (can_fail(state)) draw_edge(out, number, state.on_failure, "style=dashed");
    }

    void draw_edge(std::string& out, std::uint32_t from, std::uint32_t to,
                   const std::string& style) const {
        if (!is_drawn(to)) return;
        std::string attributes = style;
        if (walked_.has(from, to)) {
            attributes += std::string(attributes.empty() ? "" : " ") + "color=red penwidth=3";
        }
        out += "  s" + std::to_string(from) + " -> s" + std::to_string(to) +
               (attributes.empty() ? "" : " [" + attributes + "]") + ";\n";
    }

    const Walked& walked_;
    bool only_walked_;
};

/// The picture that Graphviz draws of a text, which it reads as its standard input.
std::string svg_of(const std::string& text) {
    std::FILE* const file = std::tmpfile();
    const bool is_ready = file != nullptr &&
                          std::fwrite(text.data(), 1, text.size(), file) == text.size() &&
                          std::fflush(file) == 0 && std::fseek(file, 0, SEEK_SET) == 0 &&
                          dup2(fileno(file), STDIN_FILENO) == STDIN_FILENO;
    std::FILE* const dot = is_ready ? popen("dot -Tsvg", "r") : nullptr;
    if (dot == nullptr) throw Failure(Exit::internal, "no process can be started for dot");
    std::string picture;
    std::array<char, 65536> piece;
    while (const std::size_t bytes = std::fread(piece.data(), 1, piece.size(), dot)) {
        picture.append(piece.data(), bytes);
    }
    std::fclose(file);
    if (pclose(dot) != 0) {
        throw Failure(Exit::internal,
                      "dot did not draw the picture: is Graphviz (Debian's package graphviz) "
                      "installed?");
    }
    return picture;
}

Json json_of(const Walked& walked, bool only_walked) {
    Json states = Json::array();
    for (std::uint32_t number = 0; number < KELVO_NR_DFA_STATES; ++number) {
        if (only_walked && !walked.has(number)) continue;
        const kelvo_nr_dfa_state& state = kelvo_nr_dfa_state_table[number];
        states.push_back({{"number", number},
                          {"operation", hex(state.operation, 8)},
                          {"argument", hex(state.argument, 8)},
                          {"on_success", state.on_success},
                          {"on_failure", state.on_failure},
                          {"label", label_of(state)},
                          {"walked", walked.has(number)}});
    }
    return {{"start", kelvo_nr_dfa_start_state}, {"states", states}};
}

const std::vector<Example> kExamples = {
    {"kelvo graph | head -4",
     "digraph resolver {\n"
     "  start [shape=point];\n"
     "  start -> s165;\n"
     "  s0 [label=\"0\\nSHARED\" shape=doublecircle];\n"},
    {"kelvo graph --only cfg/gl/host | grep -c fillcolor", "6\n"},
    {"kelvo graph --svg --only cfg/gl/host >resolver.svg && grep -c '<g .*class=\"node\"' "
     "resolver.svg",
     "7\n"},
};

class Graph final : public Verb {
  public:
    Graph()
        : Verb({"graph", "the resolver's state machine as a picture",
                "Draws the state machine by which the resolver walks a path, in the language of "
                "Graphviz, or as an SVG picture that Graphviz makes of it. A state is a node with "
                "its number and what it does; a solid edge is success, a dashed one failure. The "
                "states that the walks of the given paths come by are filled, and the edges red.",
                kExamples}) {
        input_.declare(*this, "PATH", "paths whose walks are shown, as the resolver joins them");
        auto* const svg =
            app.add_flag("--svg", svg_, "write an SVG picture (needs Graphviz's dot)");
        svg->excludes(app.get_option("--json"));
        app.add_flag("--only", only_walked_, "leave out the states that no walk comes by");
        declare_option("--regex", KELVO_NR_OPT_REGEXP,
                       "the client may use regular expressions in paths");
        declare_option("--management", KELVO_NR_OPT_MANAGEMENT, "a management client walks");
    }

    Exit run(Output& out) override {
        if (only_walked_ && !input_.is_given()) {
            throw Failure(Exit::usage, "--only leaves nothing to draw without a PATH");
        }
        Walked walked;
        if (input_.is_given()) {
            input_.for_each(out, [&](const Record& record) {
                const std::string path(record.text);
                walked.add(walk_of(path.ends_with('/') ? path : path + "/", options_));
            });
        }
        if (out.json()) {
            out.record(json_of(walked, only_walked_));
        } else if (svg_) {
            out.write(svg_of(Drawing(walked, only_walked_).text()));
        } else {
            out.write(Drawing(walked, only_walked_).text());
        }
        return Exit::ok;
    }

  private:
    void declare_option(const std::string& name, std::uint32_t bit, const std::string& what) {
        app.add_flag_callback(
            name, [this, bit] { options_ |= bit; }, what);
    }

    Input input_;
    bool svg_ = false;
    bool only_walked_ = false;
    std::uint32_t options_ = 0;
};

}  // namespace

std::unique_ptr<Verb> make_graph() {
    return std::make_unique<Graph>();
}

}  // namespace kelvo::tool
