// SPDX-License-Identifier: Apache-2.0
//
// Facts about this machine, asked of its kernel: the client's data.
#pragma once

#include <string>
#include <vector>

#include "value.h"

namespace example {

struct Fact {
    std::string path;
    Value value;
};

/// The names of the network interfaces, the first few when there are many.
std::vector<std::string> interface_names();

/// MTU, state, MAC address and counters of an interface, under oper/net/if/<name>/.
std::vector<Fact> interface_facts(const std::string& name);

/// Kernel, uptime and memory, under shared and admin paths.
std::vector<Fact> machine_facts();

}  // namespace example
