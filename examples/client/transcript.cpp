// SPDX-License-Identifier: Apache-2.0
#include "transcript.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "status.h"

namespace example {
namespace {

constexpr const char* kBold = "\033[1m";
constexpr const char* kFaint = "\033[2m";
constexpr const char* kGreen = "\033[32m";
constexpr const char* kYellow = "\033[33m";
constexpr const char* kRed = "\033[31m";
constexpr const char* kPlain = "\033[0m";

}  // namespace

Transcript::Transcript() : coloured_(isatty(STDOUT_FILENO) != 0 && !std::getenv("NO_COLOR")) {}

void Transcript::scene(const std::string& title) {
    std::printf("\n%s%u. %s%s\n", colour(kBold), ++scenes_, title.c_str(), colour(kPlain));
}

void Transcript::note(const std::string& sentence) {
    std::printf("   %s\n", sentence.c_str());
}

void Transcript::line(const std::string& text) {
    std::printf("     %s\n", text.c_str());
}

void Transcript::faint(const std::string& text) {
    std::printf("       %s%s%s\n", colour(kFaint), text.c_str(), colour(kPlain));
}

void Transcript::status(const std::string& what, kelvo_status got, kelvo_status wanted) {
    std::string shown_status = status_name(got);
    if (got != 0) shown_status += ": " + status_meaning(got);
    if (got != wanted) shown_status += " (wanted " + status_name(wanted) + ")";
    verdict(what, shown_status, got == wanted, got != 0);
}

void Transcript::value(const std::string& what, const Value& got, const Value& wanted) {
    const bool right = got == wanted;
    verdict(what, shown(got) + (right ? "" : " (wanted " + shown(wanted) + ")"), right, false);
}

void Transcript::check(const std::string& what, const std::string& got, bool right) {
    verdict(what, got, right, false);
}

// A refusal that was wanted is no difference, but stands out.
void Transcript::verdict(const std::string& what, const std::string& got, bool right,
                         bool refusal) {
    ++checks_;
    if (!right) ++differences_;
    const char* tint = !right ? kRed : refusal ? kYellow : kGreen;
    std::printf("     %-52s %s%s%s%s\n", what.c_str(), colour(tint), got.c_str(), colour(kPlain),
                right ? "" : "   <-- differs");
    std::fflush(stdout);
}

int Transcript::summary(unsigned requests, double milliseconds) {
    const bool good = differences_ == 0;
    std::printf("\n%sSummary%s\n", colour(kBold), colour(kPlain));
    std::printf("   %u requests answered in %.0f ms; %u results checked, %s%u differed%s.\n",
                requests, milliseconds, checks_, colour(good ? kGreen : kRed), differences_,
                colour(kPlain));
    std::fflush(stdout);
    return good ? 0 : 1;
}

}  // namespace example
