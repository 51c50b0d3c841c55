// SPDX-License-Identifier: Apache-2.0
//
// Interfaces are read from /sys/class/net, the rest from uname() and sysinfo().
#include "host_facts.h"

#include <net/if.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <cstdio>
#include <fstream>

namespace example {
namespace {

constexpr std::size_t kMost = 8;  // interfaces, so that what is printed stays readable

// The first line of an attribute; empty when the interface does not have it.
std::string attribute(const std::string& interface, const char* name) {
    std::ifstream file("/sys/class/net/" + interface + "/" + name);
    std::string line;
    std::getline(file, line);
    return line;
}

std::uint64_t number(const std::string& digits) {
    return digits.empty() ? 0 : std::strtoull(digits.c_str(), nullptr, 10);
}

// "ce:32:51:a2:12:c5" as 6 bytes.
Value mac_address(const std::string& characters) {
    std::vector<std::uint8_t> bytes;
    unsigned byte = 0;
    for (std::size_t at = 0; std::sscanf(characters.c_str() + at, "%2x", &byte) == 1; at += 3) {
        bytes.push_back(static_cast<std::uint8_t>(byte));
        if (at + 3 > characters.size()) break;
    }
    return plain_bytes(bytes);
}

}  // namespace

std::vector<std::string> interface_names() {
    std::vector<std::string> names;
    struct if_nameindex* const all = if_nameindex();
    if (all == nullptr) return names;
    for (const struct if_nameindex* each = all; each->if_index != 0 && names.size() < kMost; ++each)
        names.emplace_back(each->if_name);
    if_freenameindex(all);
    return names;
}

std::vector<Fact> interface_facts(const std::string& name) {
    const std::string base = "oper/net/if/" + name + "/";
    std::vector<Fact> facts = {
        {base + "mtu", int4(static_cast<std::uint32_t>(number(attribute(name, "mtu"))))},
        {base + "state", text(attribute(name, "operstate"))},
        {base + "rx-bytes", int8(number(attribute(name, "statistics/rx_bytes")))},
        {base + "tx-bytes", int8(number(attribute(name, "statistics/tx_bytes")))},
    };
    const std::string address = attribute(name, "address");
    if (!address.empty()) facts.push_back({base + "mac-address", mac_address(address)});
    return facts;
}

std::vector<Fact> machine_facts() {
    utsname kernel{};
    struct sysinfo memory {};
    uname(&kernel);
    sysinfo(&memory);
    const std::uint64_t unit = memory.mem_unit;
    return {
        {"cfg/gl/host/name", text(kernel.nodename)},
        {"oper/host/gl/kernel/system", text(kernel.sysname)},
        {"oper/host/gl/kernel/release", text(kernel.release)},
        {"oper/host/gl/kernel/machine", text(kernel.machine)},
        {"oper/host/gl/uptime", int8(static_cast<std::uint64_t>(memory.uptime))},
        {"oper/host/gl/processes", int4(memory.procs)},
        {"data/gl/memory/total", int8(memory.totalram * unit)},
        {"data/gl/memory/free", int8(memory.freeram * unit)},
        {"admin/cfg/gl/host/name", text(kernel.nodename)},
    };
}

}  // namespace example
