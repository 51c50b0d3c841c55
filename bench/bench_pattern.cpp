// SPDX-License-Identifier: Apache-2.0
//
// Paths against paths with wildcards, component by component as the library matches them, and as
// one expression or one file-name pattern for the whole path.
#define PCRE2_CODE_UNIT_WIDTH 8
#include <fnmatch.h>
#include <oniguruma.h>
#include <pcre2.h>

#include <cstdlib>
#include <cstring>

#include "kelvo_regex.h"
#include "kelvo_util_path.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

struct Case {
    const char* path;
    const char* pattern;     ///< the library's
    const char* expression;  ///< of the whole path
    const char* glob;        ///< of the whole path; null where there is none
    const char* component;   ///< the one component that is a regular expression
    const char* in_path;     ///< what stands there in the path
    bool matches;
};

/// Literals, ".*" and what begins or ends in a certain way.
constexpr Case kPlain[] = {
    {"cfg/gl/bgp/100/neighbor/", "cfg/gl/bgp/100/neighbor/", "^cfg/gl/bgp/100/neighbor/$",
     "cfg/gl/bgp/100/neighbor/", "", "", true},
    {"cfg/if/act/Gig0_0_0_1/mtu", "cfg/if/act/Gig.*/mtu", "^cfg/if/act/Gig[^/\\n]*/mtu$",
     "cfg/if/act/Gig*/mtu", "", "", true},
    {"cfg/if/act/Bundle12/mtu", "cfg/if/act/Gig.*/mtu", "^cfg/if/act/Gig[^/\\n]*/mtu$",
     "cfg/if/act/Gig*/mtu", "", "", false},
    {"oper/ospf/gl/process/1/area/", "oper/.*/gl/process/.*/area/",
     "^oper/[^/\\n]*/gl/process/[^/\\n]*/area/$", "oper/*/gl/process/*/area/", "", "", true},
    {"oper/ethernet/node/0_1_main/stats", "oper/ethernet/node/.*_main/stats",
     "^oper/ethernet/node/[^/\\n]*_main/stats$", "oper/ethernet/node/*_main/stats", "", "", true},
    {"data/gl/ntp/server/10_0_0_7/", "data/gl/ntp/.*/10_.*/", "^data/gl/ntp/[^/\\n]*/10_[^/\\n]*/$",
     "data/gl/ntp/*/10_*/", "", "", true},
};

/// One component each that takes more than that.
constexpr Case kOther[] = {
    {"cfg/if/Gig0_0_0_1/mtu", "cfg/if/Gig0_[0-3]_.*/mtu", "^cfg/if/Gig0_[0-3]_[^/\\n]*/mtu$",
     nullptr, "^((Gig0_[0-3]_.*)/)$", "Gig0_0_0_1/", true},
    {"cfg/if/Gig0_7_0_1/mtu", "cfg/if/Gig0_[0-3]_.*/mtu", "^cfg/if/Gig0_[0-3]_[^/\\n]*/mtu$",
     nullptr, "^((Gig0_[0-3]_.*)/)$", "Gig0_7_0_1/", false},
    {"oper/gl/isis/17/", "oper/gl/(bgp|ospf|isis)/17/", "^oper/gl/(?:bgp|ospf|isis)/17/$", nullptr,
     "^((bgp|ospf|isis)/)$", "isis/", true},
    {"data/gl/vlan412/name", "data/gl/vlan[1-4][0-9]+/name", "^data/gl/vlan[1-4][0-9]+/name$",
     nullptr, "^((vlan[1-4][0-9]+)/)$", "vlan412/", true},
    {"data/gl/policy_x2/", "data/gl/[a-z]+_x?2/", "^data/gl/[a-z]+_x?2/$", nullptr,
     "^(([a-z]+_x?2)/)$", "policy_x2/", true},
};

/// What all contenders have in common: an answer for each case.
template <const auto& kCases>
struct Answers {
    static constexpr std::size_t kCount = std::size(kCases);
    bool answers[kCount] = {};
    [[nodiscard]] bool right() const {
        for (std::size_t i = 0; i < kCount; ++i) {
            if (answers[i] != kCases[i].matches) return false;
        }
        return true;
    }
};

template <const auto& kCases>
struct Library : Answers<kCases> {
    kelvo_path_pattern* patterns[std::size(kCases)] = {};
    Library() {
        for (std::size_t i = 0; i < this->kCount; ++i) {
            (void)kelvo_util_path_regcomp(kCases[i].pattern, &patterns[i], 0);
        }
    }
    ~Library() {
        for (kelvo_path_pattern* const pattern : patterns) kelvo_util_path_regfree(pattern);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    void run() {
        for (std::size_t i = 0; i < this->kCount; ++i) {
            std::uint32_t matches = 0;
            (void)kelvo_util_path_regexec(kCases[i].path, patterns[i], &matches);
            this->answers[i] = matches != 0;
        }
    }
};

template <const auto& kCases>
struct Pcre : Answers<kCases> {
    pcre2_code* codes[std::size(kCases)] = {};
    pcre2_match_data* match;
    Pcre() : match(pcre2_match_data_create(4, nullptr)) {
        for (std::size_t i = 0; i < this->kCount; ++i) {
            int error = 0;
            PCRE2_SIZE at = 0;
            codes[i] =
                pcre2_compile(reinterpret_cast<PCRE2_SPTR>(kCases[i].expression),
                              PCRE2_ZERO_TERMINATED, PCRE2_DOLLAR_ENDONLY, &error, &at, nullptr);
            (void)pcre2_jit_compile(codes[i], PCRE2_JIT_COMPLETE);
        }
    }
    ~Pcre() {
        pcre2_match_data_free(match);
        for (pcre2_code* const code : codes) pcre2_code_free(code);
    }
    Pcre(const Pcre&) = delete;
    Pcre& operator=(const Pcre&) = delete;
    void run() {
        for (std::size_t i = 0; i < this->kCount; ++i) {
            this->answers[i] =
                pcre2_jit_match(codes[i], reinterpret_cast<PCRE2_SPTR>(kCases[i].path),
                                std::strlen(kCases[i].path), 0, 0, match, nullptr) >= 0;
        }
    }
};

/// File-name patterns: a "*" does not match a "/".
template <const auto& kCases>
struct Fnmatch : Answers<kCases> {
    void run() {
        for (std::size_t i = 0; i < this->kCount; ++i) {
            this->answers[i] = fnmatch(kCases[i].glob, kCases[i].path, FNM_PATHNAME) == 0;
        }
    }
};

/// The library's engine, on the whole path or on the one component that needs it.
template <const auto& kCases, bool kWholePath>
struct Engine : Answers<kCases> {
    OnigRegex expressions[std::size(kCases)] = {};
    Engine() {
        OnigEncoding encoding = ONIG_ENCODING_ASCII;
        (void)onig_initialize(&encoding, 1);
        for (std::size_t i = 0; i < this->kCount; ++i) {
            const auto* const text = reinterpret_cast<const OnigUChar*>(
                kWholePath ? kCases[i].expression : kCases[i].component);
            const auto chars = std::strlen(reinterpret_cast<const char*>(text));
            (void)onig_new(&expressions[i], text, text + chars, ONIG_OPTION_NONE,
                           ONIG_ENCODING_ASCII, ONIG_SYNTAX_ONIGURUMA, nullptr);
        }
    }
    ~Engine() {
        for (OnigRegex const expression : expressions) onig_free(expression);
    }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    void run() {
        for (std::size_t i = 0; i < this->kCount; ++i) {
            const auto* const text =
                reinterpret_cast<const OnigUChar*>(kWholePath ? kCases[i].path : kCases[i].in_path);
            const auto* const end = text + std::strlen(reinterpret_cast<const char*>(text));
            this->answers[i] =
                onig_search(expressions[i], text, end, text, end, nullptr, ONIG_OPTION_NONE) >= 0;
        }
    }
};

/// A copy of a path while it exists, as the interface asks for it.
class Copy {
  public:
    explicit Copy(const char* path)
        : chars_(std::strlen(path)), text_(static_cast<char*>(std::malloc(chars_ + 1))) {
        std::memcpy(text_, path, chars_ + 1);
    }
    ~Copy() { std::free(text_); }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;
    [[nodiscard]] const char* text() const { return text_; }
    [[nodiscard]] std::size_t chars() const { return chars_; }

  private:
    std::size_t chars_;
    char* text_;
};

/// The engine on the one component that needs it, in a copy of the path, as if it were known where
/// that stands.
struct CopyAndEngine : Engine<kOther, false> {
    std::size_t begins[std::size(kOther)];
    std::size_t chars[std::size(kOther)];
    CopyAndEngine() {
        for (std::size_t i = 0; i < kCount; ++i) {
            const char* const path = kOther[i].path;
            begins[i] = static_cast<std::size_t>(std::strstr(path, kOther[i].in_path) - path);
            chars[i] = std::strlen(kOther[i].in_path);
        }
    }
    void run() {
        for (std::size_t i = 0; i < kCount; ++i) {
            const char* path = kOther[i].path;
            benchmark::DoNotOptimize(path);
            const Copy copy(path);
            const auto* const text = reinterpret_cast<const OnigUChar*>(copy.text()) + begins[i];
            answers[i] = onig_search(expressions[i], text, text + chars[i], text, text + chars[i],
                                     nullptr, ONIG_OPTION_NONE) >= 0;
        }
    }
};

/// A path against itself, or against another where it does not match.
template <bool kCopies>
struct Strcmp : Answers<kPlain> {
    std::string same[std::size(kPlain)];
    Strcmp() {
        for (std::size_t i = 0; i < kCount; ++i) {
            same[i] = kPlain[i].matches ? kPlain[i].path : kPlain[i].pattern;
        }
    }
    void run() {
        for (std::size_t i = 0; i < kCount; ++i) {
            const char* path = kPlain[i].path;
            benchmark::DoNotOptimize(path);
            if (kCopies) {
                const Copy copy(path);
                answers[i] = std::strcmp(same[i].c_str(), copy.text()) == 0;
            } else {
                answers[i] = std::strcmp(same[i].c_str(), path) == 0;
            }
        }
    }
};

const Row kPlainRow(
    {"pattern_plain", "path against literals, \"abc.*\" and \".*\"", std::size(kPlain), {2.0, 8.5}},
    {library<Library<kPlain>>(), floor<Strcmp<false>>("strcmp"), other<Pcre<kPlain>>("PCRE2 JIT"),
     shown<Strcmp<true>>("the floor, in a copy"), shown<Fnmatch<kPlain>>("fnmatch")});
const Row kOtherRow(
    {"pattern_other", "path with one component of any other kind", std::size(kOther), {1.1, 1.15}},
    {library<Library<kOther>>(), floor<Engine<kOther, false>>("one engine call"),
     other<Engine<kOther, true>>("Oniguruma"), shown<CopyAndEngine>("the floor, in a copy"),
     shown<Pcre<kOther>>("PCRE2 JIT")});

}  // namespace
