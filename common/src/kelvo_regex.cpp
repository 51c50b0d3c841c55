// SPDX-License-Identifier: Apache-2.0
//
// The regular-expression engine, made safe for patterns that come from clients: a guard reads each
// pattern first, and a match may give up only so many choices and stack only so many. The engine's
// own limits are settings of the whole process, so they are given with each match instead.
//
// The engine also exports its POSIX-style functions under the C library's names; only the prefixed
// ones are used here, so that neither side is ever bound to the other's.
#include "kelvo_regex.h"

#include <oniguruma.h>
#include <pthread.h>
// After the engine's native interface, whose type names it redefines.
#include <onigposix.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "kelvo_debug_flag.h"
#include "kelvo_regex_guard.h"

static_assert(KELVO_REGEX_EXTENDED == REG_EXTENDED && KELVO_REGEX_NOSUB == REG_NOSUB);

using namespace kelvo;

namespace {

static_assert(sizeof(RegexCost) == sizeof kelvo_regex::cost);

// A match stays below 5 ms: what one choice given up may cost, times how often that may happen,
// and one run over the text.
constexpr double kMostSteps = 1e6;
constexpr double kMostWork = 6e5;
// Few runs are as long as a run can be.
constexpr double kStepsInOne = 2;

// 32 bytes each, and as much again while the stack grows.
constexpr unsigned kMostStacked = 20480;

// Limits that a match may be given: 1, 2, 4 ... choices given up. One set serves all threads: they
// are only read during a match, but for a number that the engine keeps there for callouts, of which
// the guard lets none through.
constexpr int kLimits = 16;
OnigMatchParam* limits[kLimits];

OnigMatchParam* make_limit(unsigned long choices) {
    OnigMatchParam* const limit = onig_new_match_param();
    if (limit == nullptr) return nullptr;
    onig_set_match_stack_limit_size_of_match_param(limit, kMostStacked);
    onig_set_retry_limit_in_match_of_match_param(limit, choices);
    onig_set_retry_limit_in_search_of_match_param(limit, choices);
    return limit;
}

/// Makes the limits that are still missing. @return whether none is
bool make_limits() {
    unsigned long choices = 1;
    for (OnigMatchParam*& limit : limits) {
        if (limit == nullptr) limit = make_limit(choices);
        if (limit == nullptr) return false;
        choices *= 2;
    }
    return true;
}

/// Prepares the engine before its first pattern. Left to itself it would do so too, but not if two
/// threads came at once. An attempt that ran out of memory is repeated with the next pattern.
bool engine_is_ready() {
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    static bool ready = false;
    pthread_mutex_lock(&mutex);
    if (!ready) {
        OnigEncoding encoding = onigenc_get_default_encoding();
        ready = onig_initialize(&encoding, 1) == ONIG_NORMAL &&
                onig_initialize_encoding(encoding) == ONIG_NORMAL && make_limits();
    }
    const bool answer = ready;
    pthread_mutex_unlock(&mutex);
    return answer;
}

/// The limits for a match, or null when not even one run may be tried: the most choices whose runs
/// together are no more than the most work.
OnigMatchParam* limits_for(const RegexCost& cost, std::size_t characters) {
    const double steps = cost.steps(static_cast<double>(characters));
    if (steps > kMostSteps) return nullptr;
    const double one = std::max(static_cast<double>(characters) + 1, steps / kStepsInOne);
    int limit = kLimits - 1;
    for (double choices = 1 << limit; limit > 0 && one * choices > kMostWork; choices /= 2) --limit;
    return limits[limit];
}

bool was_limited(int result) {
    return result == ONIGERR_RETRY_LIMIT_IN_MATCH_OVER ||
           result == ONIGERR_RETRY_LIMIT_IN_SEARCH_OVER || result == ONIGERR_MATCH_STACK_LIMIT_OVER;
}

/// Says why a text does not match that might.
int give_up(std::size_t characters) {
    if (debug_is_on(KELVO_DEBUG_NODE_RESOLVER)) {
        debug_print("Regular expression given up: too much work for a text of %zu characters",
                    characters);
    }
    return REG_NOMATCH;
}

/// The POSIX-style answer for the engine's own.
int answer(int result, std::size_t characters) {
    if (result >= 0) return 0;
    if (was_limited(result)) return give_up(characters);
    return result == ONIGERR_MEMORY ? REG_ESPACE : REG_NOMATCH;
}

OnigOptionType options_of(int eflags) {
    return ((eflags & REG_NOTBOL) != 0 ? ONIG_OPTION_NOTBOL : ONIG_OPTION_NONE) |
           ((eflags & REG_NOTEOL) != 0 ? ONIG_OPTION_NOTEOL : ONIG_OPTION_NONE);
}

int search(const kelvo_regex& compiled, const char* string, std::size_t characters,
           OnigRegion* region, int eflags) {
    OnigMatchParam* const bounds = limits_for(std::bit_cast<RegexCost>(compiled.cost), characters);
    if (bounds == nullptr) return give_up(characters);
    const auto* const begin = reinterpret_cast<const OnigUChar*>(string);
    const OnigUChar* const end = begin + characters;
    const int result = onig_search_with_param(static_cast<OnigRegex>(compiled.engine), begin, end,
                                              begin, end, region, options_of(eflags), bounds);
    return answer(result, characters);
}

}  // namespace

bool kelvo::regex_has_default_syntax() noexcept {
    return OnigDefaultSyntax == ONIG_SYNTAX_ONIGURUMA &&
           onigenc_get_default_encoding() == ONIG_ENCODING_ASCII;
}

int kelvo_regcomp(kelvo_regex* compiled, const char* pattern, int flags) {
    *compiled = {nullptr, 0, flags, {}};
    RegexCost cost;
    if (!regex_is_safe(pattern, (flags & KELVO_REGEX_EXTENDED) != 0, &cost)) return REG_BADPAT;
    if (!engine_is_ready()) return REG_ESPACE;
    onig_posix_regex_t engine{};
    if (const int error = onig_posix_regcomp(&engine, pattern, flags)) return error;
    // The engine takes some variable look-behinds, "(?<=a*?b{0,9})", for good and makes nothing.
    if (engine.onig == nullptr) return REG_BADPAT;
    *compiled = {engine.onig, engine.re_nsub, flags, {}};
    std::memcpy(compiled->cost, &cost, sizeof cost);
    return 0;
}

bool kelvo::regex_matches(const kelvo_regex& compiled, const char* text,
                          std::size_t characters) noexcept {
    return search(compiled, text, characters, nullptr, 0) == 0;
}

int kelvo_regexec(const kelvo_regex* compiled, const char* string, size_t nmatch,
                  kelvo_regex_match* matches, int eflags) {
    if (nmatch == 0 || (compiled->flags & KELVO_REGEX_NOSUB) != 0) {
        return search(*compiled, string, std::strlen(string), nullptr, eflags);
    }
    OnigRegion region{};
    const int error = search(*compiled, string, std::strlen(string), &region, eflags);
    for (size_t i = 0; i < nmatch && (error == 0 || error == REG_NOMATCH); ++i) {
        const bool took_part = error == 0 && i <= compiled->groups;
        matches[i] =
            took_part ? kelvo_regex_match{region.beg[i], region.end[i]} : kelvo_regex_match{-1, -1};
    }
    // Not onig_region_free(), which forgets one array when there was no memory for the other.
    std::free(region.beg);
    std::free(region.end);
    return error;
}

void kelvo_regfree(kelvo_regex* compiled) {
    onig_free(static_cast<OnigRegex>(compiled->engine));
    compiled->engine = nullptr;
}
