// SPDX-License-Identifier: Apache-2.0
//
// The regular-expression engine. It also exports its POSIX-style functions under the C library's
// names; only the prefixed ones are used here, so that neither side is ever bound to the other's.
#include "kelvo_regex.h"

#include <oniguruma.h>
#include <pthread.h>
// After the engine's native interface, whose type names it redefines.
#include <onigposix.h>

#include <bit>

static_assert(sizeof(kelvo_regex) == sizeof(onig_posix_regex_t));
static_assert(offsetof(kelvo_regex, engine) == offsetof(onig_posix_regex_t, onig));
static_assert(offsetof(kelvo_regex, groups) == offsetof(onig_posix_regex_t, re_nsub));
static_assert(offsetof(kelvo_regex, flags) == offsetof(onig_posix_regex_t, comp_options));
static_assert(sizeof(kelvo_regex_match) == sizeof(onig_posix_regmatch_t));
static_assert(offsetof(kelvo_regex_match, start) == offsetof(onig_posix_regmatch_t, rm_so));
static_assert(offsetof(kelvo_regex_match, end) == offsetof(onig_posix_regmatch_t, rm_eo));
static_assert(KELVO_REGEX_EXTENDED == REG_EXTENDED && KELVO_REGEX_NOSUB == REG_NOSUB);

namespace {

/// Prepares the engine before its first pattern. Left to itself it would do so too, but not if two
/// threads came at once. An attempt that ran out of memory is repeated with the next pattern.
bool engine_is_ready() {
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    static bool ready = false;
    pthread_mutex_lock(&mutex);
    if (!ready) {
        OnigEncoding encoding = onigenc_get_default_encoding();
        ready = onig_initialize(&encoding, 1) == ONIG_NORMAL &&
                onig_initialize_encoding(encoding) == ONIG_NORMAL;
    }
    const bool answer = ready;
    pthread_mutex_unlock(&mutex);
    return answer;
}

}  // namespace

int kelvo_regcomp(kelvo_regex* compiled, const char* pattern, int flags) {
    *compiled = {nullptr, 0, flags};
    if (!engine_is_ready()) return REG_ESPACE;
    onig_posix_regex_t engine{};
    if (const int error = onig_posix_regcomp(&engine, pattern, flags)) return error;
    *compiled = std::bit_cast<kelvo_regex>(engine);
    return 0;
}

int kelvo_regexec(const kelvo_regex* compiled, const char* string, size_t nmatch,
                  kelvo_regex_match* matches, int eflags) {
    auto engine = std::bit_cast<onig_posix_regex_t>(*compiled);
    auto* const places = reinterpret_cast<onig_posix_regmatch_t*>(matches);
    return onig_posix_regexec(&engine, string, nmatch, places, eflags);
}

void kelvo_regfree(kelvo_regex* compiled) {
    auto engine = std::bit_cast<onig_posix_regex_t>(*compiled);
    onig_posix_regfree(&engine);
    compiled->engine = nullptr;
}
