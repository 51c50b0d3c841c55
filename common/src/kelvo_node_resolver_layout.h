// SPDX-License-Identifier: Apache-2.0
//
// The state table laid out from its rows, at compile time.
//
// A level is what the machine knows after some components: the rows that still fit. It is laid down
// as one block, from the last name that it tests to the first, so that each name finds its
// successor there:
//
//     match      one for each name; equal goes to the name's level or answer, unequal to the next
//     no operation   the head of the level, by which the trace and the picture know it
//     advance    the way in from the level above; nothing left goes to the level's end
//     end        what a path is that stops here: the row's flags and result, or AMBIGUOUS
//     miss       INVALID, when no name fits and the level knows no "any component"
//
// The levels below are laid down first; equal levels are one level. An answer (flags, wildcard
// test, result) and a match are laid down once for all levels. Ends and misses are not shared, so
// that the trace of a walk shows where it ended. The top level has no way in and no end: its head
// is the start state, its miss the last state.
#pragma once

#include "kelvo_node_resolver_hash.h"
#include "kelvo_node_resolver_rows.h"

namespace kelvo::nr {

/// One component of a row: any, or some alternatives.
struct Pattern {
    bool any = false;
    bool wildcard = false;  ///< any, and tested for wildcards
    u32 alternatives = 0;
    u32 hashes[3] = {};

    [[nodiscard]] constexpr bool fits(u32 hash) const {
        bool fit = any;
        for (u32 i = 0; i < alternatives; ++i) fit = fit || hashes[i] == hash;
        return fit;
    }
};

/// A row in parts.
struct Parts {
    static constexpr u32 kMost = 6;

    Pattern patterns[kMost];
    u32 depth = 0;
    bool end = false;  ///< fits only a path that stops there
    u32 result = 0;
    u32 flags = 0;

    constexpr Parts() = default;
    explicit constexpr Parts(const Row& row) : depth(1), result(row.result), flags(row.flags) {
        u32 hash = 0;
        for (const char* at = row.path; *at != '\0'; ++at) {
            if (*at == ' ') end = true;
            if (end) continue;
            if (*at == '/' || *at == '|') {
                add(hash);
                depth += *at == '/' ? 1 : 0;
                hash = 0;
            } else if (*at == 'A' || *at == 'B' || *at == 'X') {
                patterns[depth - 1].any = true;
            } else if (*at == '?') {
                patterns[depth - 1].wildcard = true;
            } else {
                hash = hash_step(hash, *at);
            }
        }
        add(hash);
    }

  private:
    constexpr void add(u32 hash) {
        Pattern& pattern = patterns[depth - 1];
        if (!pattern.any) pattern.hashes[pattern.alternatives++] = hash;
    }
};

class Layout {
  public:
    static constexpr u32 kRoom = 256;

    kelvo_nr_dfa_state states[kRoom] = {};
    u32 count = 0;
    u32 start = 0;

    consteval Layout() {
        for (u32 i = 0; i < kRows; ++i) rows_[i] = Parts(rows::kAll[i]);
        start = lay_level((RowSet{1} << kRows) - 1, 0);
    }

  private:
    using RowSet = u64;
    static constexpr u32 kRows = sizeof rows::kAll / sizeof rows::kAll[0];
    static constexpr u32 kNone = 0xFFFFFFFF;
    static constexpr u32 kMostNames = 12;
    static constexpr u32 kMostLevels = 32;
    static_assert(kRows < 64, "a set of rows is one word");

    /// What a level does, apart from where it lies.
    struct Level {
        u32 names = 0;
        u32 hashes[kMostNames] = {};
        u32 targets[kMostNames] = {};
        u32 other = kNone;  ///< where any other component leads
        u32 end_flags = 0;
        u32 end_result = KELVO_NR_DFA_AMBIGUOUS;

        constexpr bool operator==(const Level&) const = default;
    };

    [[nodiscard]] static constexpr bool holds(RowSet set, u32 row) { return (set >> row & 1) != 0; }

    /// Whether a row decides once a component fits its pattern at this depth.
    [[nodiscard]] constexpr bool completes(u32 row, u32 depth) const {
        return rows_[row].depth == depth + 1 && !rows_[row].end;
    }

    /// The rows of a level that a component can still reach: none beyond one that decides for
    /// whatever component comes, and none that ends here.
    [[nodiscard]] constexpr RowSet reachable(RowSet set, u32 depth) const {
        RowSet reached = 0;
        for (u32 row = 0; row < kRows; ++row) {
            if (!holds(set, row) || rows_[row].depth == depth) continue;
            reached |= RowSet{1} << row;
            if (rows_[row].patterns[depth].any && completes(row, depth)) break;
        }
        return reached;
    }

    /// Reached while compiling, it ends the compilation: a row stands before a shorter one that it
    /// begins with, so the first row that fits would not be the first to decide.
    static void rows_are_out_of_order();

    /// Where a component leads that leaves these rows: the answer of the first, or a level of all.
    constexpr u32 follow(RowSet set, u32 depth) {
        u32 first = 0;
        while (!holds(set, first)) ++first;
        if (!completes(first, depth)) {
            for (u32 row = first; row < kRows; ++row) {
                if (holds(set, row) && completes(row, depth)) rows_are_out_of_order();
            }
            return lay_level(set, depth + 1);
        }
        const Parts& row = rows_[first];
        u32 at = lay_once({KELVO_NR_DFA_RESULT, row.result, 0, 0});
        if (row.patterns[depth].wildcard) at = lay_once({KELVO_NR_DFA_WILDCARD_TEST, 0, at, at});
        if (row.flags != 0) at = lay_once({KELVO_NR_DFA_SET_FLAG, row.flags, at, at});
        return at;
    }

    /// The level's names with what lies below each.
    constexpr void follow_names(Level& level, RowSet reached, u32 depth) {
        for (u32 row = 0; row < kRows; ++row) {
            if (!holds(reached, row)) continue;
            const Pattern& pattern = rows_[row].patterns[depth];
            for (u32 i = 0; i < pattern.alternatives; ++i) {
                follow_name(level, pattern.hashes[i], reached, depth);
            }
        }
    }

    constexpr void follow_name(Level& level, u32 hash, RowSet reached, u32 depth) {
        for (u32 i = 0; i < level.names; ++i) {
            if (level.hashes[i] == hash) return;
        }
        RowSet fitting = 0;
        for (u32 row = 0; row < kRows; ++row) {
            if (holds(reached, row) && rows_[row].patterns[depth].fits(hash)) {
                fitting |= RowSet{1} << row;
            }
        }
        const u32 target = follow(fitting, depth);
        level.hashes[level.names] = hash;
        level.targets[level.names++] = target;
    }

    /// Where a component leads that is none of the level's names.
    constexpr u32 follow_other(RowSet reached, u32 depth) {
        RowSet fitting = 0;
        for (u32 row = 0; row < kRows; ++row) {
            if (holds(reached, row) && rows_[row].patterns[depth].any) fitting |= RowSet{1} << row;
        }
        return fitting == 0 ? kNone : follow(fitting, depth);
    }

    /// Lays down a level and what lies below. @return its way in, for the top level its head
    constexpr u32 lay_level(RowSet set, u32 depth) {
        Level level;
        for (u32 row = kRows; row-- > 0;) {
            if (!holds(set, row) || rows_[row].depth != depth) continue;
            level.end_flags = rows_[row].flags;
            level.end_result = rows_[row].result;
        }
        const RowSet reached = reachable(set, depth);
        follow_names(level, reached, depth);
        level.other = follow_other(reached, depth);
        for (u32 i = 0; i < level_count_; ++i) {
            if (levels_[i] == level) return ways_in_[i];
        }
        levels_[level_count_] = level;
        return ways_in_[level_count_++] = lay_block(level, depth == 0);
    }

    constexpr u32 lay_block(const Level& level, bool top) {
        u32 chain = level.other;
        const u32 last_match = count;
        for (u32 i = level.names; i-- > 0;) {
            chain = lay_once({KELVO_NR_DFA_MATCH, level.hashes[i], level.targets[i], chain});
        }
        const u32 head = lay({KELVO_NR_DFA_NO_OPERATION, 0, chain, chain});
        const u32 way_in = top ? head : lay({KELVO_NR_DFA_ADVANCE, 0, head, count + 1});
        if (!top && level.end_flags != 0) {
            lay({KELVO_NR_DFA_SET_FLAG, level.end_flags, count + 1, count + 1});
        }
        if (!top) lay({KELVO_NR_DFA_RESULT, level.end_result, 0, 0});
        if (level.other == kNone) {
            states[last_match].on_failure = lay({KELVO_NR_DFA_RESULT, KELVO_NR_DFA_INVALID, 0, 0});
        }
        return way_in;
    }

    constexpr u32 lay(const kelvo_nr_dfa_state& state) {
        states[count] = state;
        return count++;
    }

    /// Lays down a state unless its like is there, among those that any level may use.
    constexpr u32 lay_once(const kelvo_nr_dfa_state& state) {
        for (u32 i = 0; i < count; ++i) {
            const kelvo_nr_dfa_state& other = states[i];
            if (shared_[i] && other.operation == state.operation &&
                other.argument == state.argument && other.on_success == state.on_success &&
                other.on_failure == state.on_failure) {
                return i;
            }
        }
        shared_[count] = true;
        return lay(state);
    }

    Parts rows_[kRows] = {};
    bool shared_[kRoom] = {};
    Level levels_[kMostLevels] = {};
    u32 ways_in_[kMostLevels] = {};
    u32 level_count_ = 0;
};

}  // namespace kelvo::nr
