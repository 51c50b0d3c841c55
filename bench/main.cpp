// SPDX-License-Identifier: Apache-2.0
//
// kelvo_bench: Google Benchmark's program, with two options of its own, which print JSON: --rows
// what there is to measure, --memory what memory some work takes.
#include <cstdio>
#include <nlohmann/json.hpp>

#include "memory.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

std::vector<Row*>& rows() {
    static std::vector<Row*> all;
    return all;
}
std::vector<Growth*>& growths() {
    static std::vector<Growth*> all;
    return all;
}

const char* name_of(Kind kind) {
    switch (kind) {
        case Kind::library:
            return "library";
        case Kind::floor:
            return "floor";
        case Kind::alternative:
            return "alternative";
        case Kind::shown:
            return "shown";
    }
    return "";
}

nlohmann::ordered_json described() {
    nlohmann::ordered_json all = {{"rows", nlohmann::ordered_json::array()},
                                  {"growths", nlohmann::ordered_json::array()}};
    for (const Row* row : rows()) {
        nlohmann::ordered_json contenders;
        for (const Contender& contender : row->contenders) {
            contenders.push_back({{"name", contender.name}, {"kind", name_of(contender.kind)}});
        }
        const Description& about = row->description;
        all["rows"].push_back(
            {{"name", about.name},
             {"title", about.title},
             {"pieces", about.pieces},
             {"targets",
              {{"alternative", about.targets.alternative}, {"floor", about.targets.floor}}},
             {"contenders", contenders}});
    }
    for (const Growth* growth : growths()) {
        all["growths"].push_back({{"name", growth->name},
                                  {"title", growth->title},
                                  {"unit", growth->unit},
                                  {"sizes", growth->sizes}});
    }
    return all;
}

nlohmann::ordered_json memory() {
    nlohmann::ordered_json all;
    for (const Memory& one : memory_of_bulk()) {
        all.push_back({{"title", one.title}, {"floor", one.floor}, {"bytes", one.bytes}});
    }
    return all;
}

void register_all() {
    for (const Row* row : rows()) {
        for (const Contender& contender : row->contenders) {
            const std::string name = "row/" + row->description.name + "/" + contender.name;
            benchmark::RegisterBenchmark(name.c_str(), contender.time);
        }
    }
    for (const Growth* growth : growths()) {
        const std::string name = "growth/" + growth->name;
        auto* const registered = benchmark::RegisterBenchmark(name.c_str(), growth->time);
        for (const std::int64_t size : growth->sizes) registered->Arg(size);
    }
}

}  // namespace

namespace kelvo::bench {

Row::Row(const Description& about, const std::vector<Contender>& all)
    : description(about), contenders(all) {
    rows().push_back(this);
}

Growth::Growth(std::string own_name, std::string own_title, std::string own_unit,
               void (*own_time)(benchmark::State&), std::vector<std::int64_t> own_sizes)
    : name(std::move(own_name)),
      title(std::move(own_title)),
      unit(std::move(own_unit)),
      time(own_time),
      sizes(std::move(own_sizes)) {
    growths().push_back(this);
}

}  // namespace kelvo::bench

int main(int argc, char** argv) {
    const std::string option = argc == 2 ? argv[1] : "";
    if (option == "--rows" || option == "--memory") {
        std::puts((option == "--rows" ? described() : memory()).dump(1).c_str());
        return 0;
    }
    register_all();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    return benchmark::RunSpecifiedBenchmarks() == 0;
}
