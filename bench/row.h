// SPDX-License-Identifier: Apache-2.0
//
// The harness. A row is one piece of work and those who do it: the library, a floor (the least that
// a machine can do, written by hand), and what a user would take instead. Contenders of a row run
// interleaved in one process, so that a figure is a ratio within one run; bench/measure.py does
// that, and takes medians.
//
// A contender is a type, `Work`. Making one prepares the work, run() does it once, and right() says
// whether what the last run() left behind is right; no figure comes from a wrong answer:
//
//     struct Library {
//         void run() { ... }
//         [[nodiscard]] bool right() const { ... }
//     };
//     const Row kRow({"name", "title", pieces, {.alternative = 0.5, .floor = 2}},
//                    {library<Library>(), floor<Stores>("stores"), other<Tree>("a tree")});
//
// A growth is an operation at several sizes. Its Work is made with a size, which is how many pieces
// one run() works on, or works among.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kelvo::bench {

/// A floor or another that a row is held to, and those that are only shown beside them.
enum class Kind { library, floor, alternative, shown };

struct Contender {
    Kind kind;
    std::string name;
    void (*time)(benchmark::State&);
};

/// At most what the library may take of the best alternative's time, and of the floor's.
struct Targets {
    double alternative;
    double floor;
};

struct Description {
    std::string name;      ///< in file names and filters
    std::string title;     ///< for people
    std::uint64_t pieces;  ///< pieces of work in one run
    Targets targets;
};

/// Puts itself on the list of rows.
class Row {
  public:
    Row(const Description& description, const std::vector<Contender>& contenders);
    Description description;
    std::vector<Contender> contenders;
};

/// Puts itself on the list of growths.
class Growth {
  public:
    /// Sizes 10, 1,000, 100,000 and 1,000,000, unless others are given.
    Growth(std::string name, std::string title, std::string unit, void (*time)(benchmark::State&),
           std::vector<std::int64_t> sizes = {10, 1000, 100'000, 1'000'000});
    std::string name;
    std::string title;
    std::string unit;  ///< what the sizes count, and what one run does
    void (*time)(benchmark::State&);
    std::vector<std::int64_t> sizes;
};

/// Times a contender, if it is right before and after.
template <class Work>
void time(benchmark::State& state, Work& work) {
    Work* where = &work;
    benchmark::DoNotOptimize(where);
    work.run();
    if (!work.right()) return state.SkipWithError("the answer is wrong");
    for ([[maybe_unused]] auto iteration : state) {
        work.run();
        benchmark::ClobberMemory();
    }
    if (!work.right()) state.SkipWithError("the answer has become wrong");
}

template <class Work>
void time_work(benchmark::State& state) {
    const auto work = std::make_unique<Work>();
    time(state, *work);
}

/// Of a growth. What takes a while to make is made once for each size.
template <class Work>
void time_growth(benchmark::State& state) {
    static std::map<std::int64_t, std::unique_ptr<Work>> works;
    std::unique_ptr<Work>& work = works[state.range(0)];
    if (!work) work = std::make_unique<Work>(static_cast<std::size_t>(state.range(0)));
    time(state, *work);
}

template <class Work>
Contender library() {
    return {Kind::library, "kelvoutils", &time_work<Work>};
}
template <class Work>
Contender floor(const std::string& name) {
    return {Kind::floor, name, &time_work<Work>};
}
template <class Work>
Contender other(const std::string& name) {
    return {Kind::alternative, name, &time_work<Work>};
}
/// One to which nothing is held.
template <class Work>
Contender shown(const std::string& name) {
    return {Kind::shown, name, &time_work<Work>};
}

}  // namespace kelvo::bench
