// SPDX-License-Identifier: Apache-2.0
//
// The guard before the engine. Patterns come from clients. The engine compiles them with recursive
// walks, whose stack grows with the height of the pattern's tree, and matches them with a machine
// that tries choices until none is left. One pass here reads a pattern as the engine's parser would
// and keeps for every part of it two things: the height of its tree, which must stay below a bound,
// and the steps of the machine that one run through it takes.
//
// Where it is easier, a height or a number of steps is taken for greater than it is. A pattern that
// the engine will refuse may be read in any way, but never takes more than one pass.
#include "kelvo_regex_guard.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace kelvo {

namespace {

// Heights, in nodes of the engine's tree. Each costs at most 560 bytes of stack in the engine's
// deepest walk, so the highest tree accepted needs about 37 KiB.
constexpr u32 kMostNodes = 66;
constexpr u32 kGroupNodes = 2;      // a group and the list of what is in it: 32 may be nested
constexpr u32 kAbsentNodes = 5;     // "(?~" is made of several
constexpr u32 kConditionNodes = 8;  // the engine's work doubles with each that is nested
constexpr u32 kTextUnitNodes = 4;   // "\X" and "\R" stand for small trees

constexpr double kEndless = std::numeric_limits<double>::infinity();
constexpr u32 kMostControls = 32;  // "\c\c\c...", read by recursion
constexpr u32 kMostClassLetters = sizeof "xdigit" - 1;
constexpr double kMarkSteps = 4;        // a group that sets marks on the match stack
constexpr double kMostCalls = 8192;     // in one run
constexpr u64 kMostReferences = 65536;  // each named one may list all groups

/// A number of steps as a polynomial in the length of the text, of which the powers 0 to 2 are
/// kept.
struct Polynomial {
    double factors[3];

    void operator+=(const Polynomial& other) {
        for (int i = 0; i < 3; ++i) factors[i] += other.factors[i];
    }
    void operator*=(double number) {
        for (double& factor : factors) factor *= number;
    }
    /// Each factor at least that of the other.
    void widen(const Polynomial& other) {
        for (int i = 0; i < 3; ++i) factors[i] = std::max(factors[i], other.factors[i]);
    }
    /// As many times over as the text has characters. A third power is as good as endless.
    [[nodiscard]] Polynomial for_each_character() const {
        Polynomial product{{0, factors[0], factors[1]}};
        if (factors[2] > 0) product.factors[2] = kEndless;
        return product;
    }
};

/// Steps of the machine in one run through a part of a pattern.
struct Steps {
    double taking;      ///< on what takes a character, outside loops
    Polynomial once;    ///< on all else, outside loops
    Polynomial looped;  ///< in loops, the characters that they take included

    /// One part, then another.
    void add(const Steps& next) {
        taking += next.taking;
        once += next.once;
        looped += next.looped;
    }

    /// One part or another, not both: to come to the second, a choice is given up.
    void widen(const Steps& other) {
        taking = std::max(taking, other.taking);
        once.widen(other.once);
        looped.widen(other.looped);
    }

    /// A part some times over. Its loops share the characters of the text.
    void repeat(double times) {
        taking *= times;
        once *= times;
    }

    /// A part in a loop, which ends with a round that takes no character. A loop around another
    /// one has no more rounds for that, since they share the characters.
    void loop() {
        once.factors[0] += 1;
        looped += once.for_each_character();
        once = {{1}};
        taking = 0;
    }

    /// A part that goes back to where it began, so that it reads the same characters again whenever
    /// it is come to.
    void look() {
        once += looped;
        once.factors[0] += taking + 1;
        looped = {};
        taking = 0;
    }

    [[nodiscard]] Polynomial total() const {
        Polynomial sum{{taking, 1}};  // at least one look at each character
        sum += once;
        sum += looped;
        return sum;
    }
};

constexpr Steps kIdle{0, {{1}}, {}};
constexpr Steps kTaking{1, {}, {}};
constexpr Steps kTakingUnit{8, {}, {}};  ///< "\X" or "\R"
/// Compares up to the whole text, then reads on or gives a choice up.
constexpr Steps kComparing{0, {{1}}, {{0, 1}}};

/// A part of a pattern that a quantifier may follow.
struct Item {
    u32 nodes;
    Steps steps;
};

enum class Kind : u8 { plain, look, absent, condition, options };

/// A group that is open, or all of the pattern.
struct Group {
    Kind kind;
    bool free_spacing;  ///< blanks and comments do not count
    bool has_choice;
    u32 nodes_above;  ///< of the groups around this one, itself included
    u32 nodes;        ///< of the highest item
    Steps branch;     ///< of what stands behind the last "|"
    Steps branches;   ///< of the branches before it
};

/// The kind of group that begins with "(?" and this.
constexpr Kind kind_of(char effect) {
    switch (effect) {
        case '(':
            return Kind::condition;
        case '=':
        case '!':
            return Kind::look;
        case '~':
            return Kind::absent;
        default:
            return Kind::plain;
    }
}

constexpr bool sets_marks(Kind kind) {
    return kind != Kind::plain && kind != Kind::options;
}

constexpr u32 nodes_of(Kind kind) {
    if (kind == Kind::absent) return kAbsentNodes;
    return kind == Kind::condition ? kConditionNodes : kGroupNodes;
}

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// Whether a text holds a character, other than its NUL.
bool is_one_of(char c, const char* set) {
    return c != '\0' && std::strchr(set, c) != nullptr;
}

/// The exponent plus one of the power of two that a number is rounded up to, as far as it goes.
u8 rounded(double number) {
    u8 stored = 0;
    for (double power = 1; number > 0 && stored < 63; power *= 2) {
        ++stored;
        if (power >= number) break;
    }
    return stored;
}

/// The power of two that is stored as its exponent plus one, 0 for none.
double power(u8 stored) {
    constexpr u64 kExponentOfOne = 1023;
    constexpr int kExponentBit = 52;
    return stored == 0 ? 0 : std::bit_cast<double>((kExponentOfOne + stored - 1) << kExponentBit);
}

class Guard {
  public:
    Guard(const char* pattern, bool extended) : at_(pattern), extended_(extended) {
        groups_[0] = {};
    }

    bool read() {
        while (*at_ != '\0') {
            if (!step()) return false;
        }
        while (open_ != 0) leave_group();
        end_branch();
        return height(group()) * (calls_ + 1) <= kMostNodes &&
               references_ * captures_ <= kMostReferences;
    }

    [[nodiscard]] Polynomial steps() const;
    [[nodiscard]] RegexCost cost() const;

  private:
    bool step();
    bool sign(char c);
    bool escape();
    bool control(char c);
    bool call_or_reference(char c);
    bool bracket_class();
    bool named_class();
    bool open_group();
    bool open_effect();
    bool open_named();
    void skip_name();
    bool open_options();
    bool push(Kind kind, bool free_spacing);
    bool close_group();
    void leave_group();
    bool quantifier(char c);
    bool interval();
    bool quantify(double most);
    bool item(u32 nodes, const Steps& steps);
    void end_branch();
    bool skip_comment();

    Group& group() { return groups_[open_]; }
    /// Where there is one call and nothing reads characters twice, the rounds of the call share
    /// those of the text like a loop's.
    [[nodiscard]] bool rounds_share() const { return calls_ == 1 && !repeats_; }
    static u32 height(const Group& group) { return group.nodes + (group.has_choice ? 1 : 0); }
    [[nodiscard]] bool fits(u32 nodes) const {
        return groups_[open_].nodes_above + nodes <= kMostNodes;
    }

    const char* at_;
    bool extended_;
    u32 open_ = 0;
    Group groups_[kMostNodes / kGroupNodes + 1];  ///< filled as they are opened
    Item last_{};  ///< not yet part of its branch, since a quantifier may follow
    u64 captures_ = 0;
    u64 references_ = 0;
    u64 calls_ = 0;
    bool repeats_ = false;  ///< holds an interval or a look-around
    bool nested_reference_ = false;
};

/// Makes an item part of the branch and begins another.
bool Guard::item(u32 nodes, const Steps& steps) {
    group().branch.add(last_.steps);
    last_ = {nodes, steps};
    group().nodes = std::max(group().nodes, nodes);
    return fits(nodes);
}

void Guard::end_branch() {
    group().branch.add(last_.steps);
    last_ = {};
    group().branches.widen(group().branch);
    group().branch = {};
}

// Groups

bool Guard::push(Kind kind, bool free_spacing) {
    if (!fits(nodes_of(kind))) return false;
    group().branch.add(last_.steps);
    last_ = {};
    const u32 nodes_above = group().nodes_above + nodes_of(kind);
    groups_[++open_] = {kind, free_spacing, false, nodes_above, 0, {}, {}};
    return true;
}

/// Makes the innermost group an item of the one around it.
void Guard::leave_group() {
    end_branch();
    const Group inner = groups_[open_--];
    Steps steps = inner.branches;
    steps.once.factors[0] += sets_marks(inner.kind) ? kMarkSteps : 1;
    if (inner.kind == Kind::look || inner.kind == Kind::absent) {
        steps.look();
        repeats_ = true;
    }
    if (inner.kind == Kind::absent) steps.loop();
    last_ = {height(inner) + nodes_of(inner.kind), steps};
    group().nodes = std::max(group().nodes, last_.nodes);
}

/// Options that were switched in the middle of a group end with it.
bool Guard::close_group() {
    while (group().kind == Kind::options) leave_group();
    if (open_ == 0) return true;  // one too many: the engine refuses it
    leave_group();
    return fits(last_.nodes);
}

bool Guard::open_group() {
    if (extended_ && *at_ == '*') return false;  // a callout
    if (extended_ && *at_ == '?') return open_effect();
    ++captures_;
    return push(Kind::plain, group().free_spacing);
}

/// "(?", of which the "?" comes next.
bool Guard::open_effect() {
    const char effect = at_[1];
    if (effect == '{') return false;  // a callout
    if (effect == '#') return skip_comment();
    if (is_one_of(effect, "<'")) return open_named();
    if (!is_one_of(effect, "(:>=!~")) return open_options();
    at_ += effect == '(' ? 1 : 2;  // a condition is a group of its own inside
    return push(kind_of(effect), group().free_spacing);
}

bool Guard::open_named() {
    at_ += 2;
    if (at_[-1] == '<' && (*at_ == '=' || *at_ == '!')) {
        ++at_;
        return push(Kind::look, group().free_spacing);
    }
    skip_name();
    ++captures_;
    return push(Kind::plain, group().free_spacing);
}

/// A name, of which the "<" or "'" has been read.
void Guard::skip_name() {
    at_ += std::strcspn(at_, ">'");
    if (*at_ != '\0') ++at_;
}

/// "(?i-m:...)" has options of its own; "(?i-m)" switches those of the rest of the group.
bool Guard::open_options() {
    bool free_spacing = group().free_spacing;
    bool on = true;
    for (++at_; *at_ != '\0' && *at_ != ':' && *at_ != ')'; ++at_) {
        if (*at_ == '-') on = false;
        if (*at_ == 'x') free_spacing = on;
    }
    if (*at_ == '\0') return true;
    return push(*at_++ == ':' ? Kind::plain : Kind::options, free_spacing);
}

/// "(?#...)", of which the "?" comes next, up to the first ")".
bool Guard::skip_comment() {
    for (at_ += 2; *at_ != '\0';) {
        const char c = *at_++;
        if (c == ')') break;
        if (c == '\\' && *at_ != '\0') ++at_;
    }
    return true;
}

// Bracket classes

/// A class of which the "[" has been read. One inside another is a level of its own.
bool Guard::bracket_class() {
    u32 open = 1;
    u32 deepest = 1;
    const auto begin = [this] {
        if (*at_ == '^') ++at_;
        if (*at_ == ']') ++at_;  // the first one stands for itself
    };
    begin();
    while (*at_ != '\0') {
        const char c = *at_++;
        if (c == ']' && --open == 0) break;
        if (c == '\\' && extended_ && *at_ != '\0' && !control(*at_++)) return false;
        if (c != '[') continue;
        if (*at_ == ':') {
            if (!named_class()) return false;
        } else if (extended_) {
            deepest = std::max(deepest, ++open);
            begin();
        }
    }
    return item(deepest, kTaking);
}

/// "[:alpha:]", of which the "[" has been read. What only begins like one is refused, since the
/// engine searches ahead for what to make of it.
bool Guard::named_class() {
    ++at_;
    if (*at_ == '^') ++at_;
    for (u32 letters = 0; letters < kMostClassLetters && *at_ >= 'a' && *at_ <= 'z'; ++letters) {
        ++at_;
    }
    if (at_[0] != ':' || at_[1] != ']') return false;
    at_ += 2;
    return true;
}

// Quantifiers

bool Guard::quantify(double most) {
    if (last_.nodes == 0) return true;  // nothing to repeat: text, or the engine refuses it
    if (most == kEndless) {
        last_.steps.loop();
    } else {
        last_.steps.repeat(std::max(most, 1.0));
        last_.steps.add(kIdle);
        repeats_ = repeats_ || most > 1;
    }
    group().nodes = std::max(group().nodes, ++last_.nodes);
    return fits(last_.nodes);
}

/// "*", "+" or "?", with the sign behind it that makes it reluctant or possessive.
bool Guard::quantifier(char c) {
    if (extended_ && (*at_ == '?' || *at_ == '+')) ++at_;
    return quantify(c == '?' ? 1 : kEndless);
}

/// An interval of which the brace has been read. What does not read like one is text.
bool Guard::interval() {
    const char* at = at_;
    double bounds[2] = {0, 0};
    int given[2] = {0, 0};
    int bound = 0;
    for (; is_digit(*at) || (*at == ',' && bound == 0); ++at) {
        if (*at == ',') {
            bound = 1;
            continue;
        }
        bounds[bound] = std::min(bounds[bound] * 10 + (*at - '0'), 1e6);
        ++given[bound];
    }
    if (!extended_ && *at == '\\') ++at;
    if (*at != '}' || given[0] + given[1] == 0) return item(1, kTaking);
    at_ = at + 1;
    if (bound == 1 && given[1] == 0) return quantify(kEndless);
    return quantify(std::max(bounds[0], bounds[1]));
}

// Escapes

/// What stands behind a "\", of which the first character has been read: a control character takes
/// the character or the escape behind it, and so on.
bool Guard::control(char c) {
    for (u32 controls = 0; controls <= kMostControls; ++controls) {
        if ((c == 'C' || c == 'M') && *at_ == '-') {
            ++at_;
        } else if (c != 'c') {
            return true;
        }
        if (*at_ == '\0' || *at_++ != '\\' || *at_ == '\0') return true;
        c = *at_++;
    }
    return false;
}

/// "\g<...>" or "\k<...>", of which the letter has been read.
bool Guard::call_or_reference(char c) {
    if (*at_ != '<' && *at_ != '\'') return item(1, kTaking);
    const char* const name = ++at_;
    skip_name();
    if (c == 'g') {
        ++calls_;
        return item(1, kIdle);
    }
    ++references_;
    // With a level of recursion ("\k<n+1>") the engine searches what it has stacked. A sign at the
    // very beginning ("\k<-1>") counts groups from here.
    for (const char* at = name + 1; at < at_; ++at) {
        if (is_one_of(*at, "+-")) nested_reference_ = true;
    }
    return item(1, kComparing);
}

/// An escape of which the "\" has been read.
bool Guard::escape() {
    if (*at_ == '\0') return true;  // the engine refuses it
    const char c = *at_++;
    if (!extended_) return is_digit(c) ? item(1, kComparing) : item(1, kTaking);
    if (c == 'g' || c == 'k') return call_or_reference(c);
    if (c == 'X' || c == 'R') return item(kTextUnitNodes, kTakingUnit);
    if (is_digit(c)) return item(1, kComparing);
    if (is_one_of(c, "bBAZzGKyY")) return item(1, kIdle);
    return control(c) && item(1, kTaking);
}

// The pass

/// Reads one thing, whatever comes next.
bool Guard::step() {
    const char c = *at_++;
    if (c == '\\') return !extended_ && is_one_of(*at_, "(){") ? sign(*at_++) : escape();
    if (!extended_ && is_one_of(c, "(){|+?")) return item(1, kTaking);
    return sign(c);
}

/// A character that means itself only if it has no other meaning.
bool Guard::sign(char c) {
    switch (c) {
        case '(':
            return open_group();
        case ')':
            return close_group();
        case '{':
            return interval();
        case '[':
            return bracket_class();
        case '|':
            end_branch();
            group().has_choice = true;
            return true;
        case '*':
        case '+':
        case '?':
            return quantifier(c);
        case '^':
        case '$':
            return item(1, kIdle);
        default:
            break;
    }
    if (!group().free_spacing || !is_one_of(c, " \t\n\r\f#")) return item(1, kTaking);
    if (c == '#') at_ += std::strcspn(at_, "\n");
    return true;
}

/// Of one run through the whole pattern.
Polynomial Guard::steps() const {
    Polynomial total = groups_[0].branches.total();
    // A call may run the whole pattern again, and so may each of those that it comes to; they end
    // when the match stack is full, on which each leaves entries.
    if (calls_ != 0 && !rounds_share()) total *= kMostCalls;
    return total;
}

RegexCost Guard::cost() const {
    const Polynomial total = steps();
    return {.once = rounded(total.factors[0]),
            .per_character = rounded(total.factors[1]),
            .per_pair = rounded(total.factors[2]),
            .squared = nested_reference_ || (calls_ != 0 && rounds_share())};
}

}  // namespace

double RegexCost::steps(double characters) const noexcept {
    const double run =
        power(once) + power(per_character) * characters + power(per_pair) * characters * characters;
    return squared != 0 ? run * run : run;
}

// Not inlined: its stack is to be gone when the engine needs much of it.
[[gnu::noinline]] bool regex_is_safe(const char* pattern, bool extended, RegexCost* cost) noexcept {
    Guard guard(pattern, extended);
    if (!guard.read()) return false;
    *cost = guard.cost();
    return true;
}

}  // namespace kelvo
