// SPDX-License-Identifier: Apache-2.0
//
// The makers of all verbs.
#pragma once

#include <memory>
#include <vector>

#include "verb.h"

namespace kelvo::tool {

std::unique_ptr<Verb> make_decode();
std::unique_ptr<Verb> make_encode();
std::unique_ptr<Verb> make_graph();
std::unique_ptr<Verb> make_match();
std::unique_ptr<Verb> make_name_decode();
std::unique_ptr<Verb> make_name_encode();
std::unique_ptr<Verb> make_order();
std::unique_ptr<Verb> make_platform_check();
std::unique_ptr<Verb> make_resolve();
std::unique_ptr<Verb> make_status();
std::unique_ptr<Verb> make_types();

/// All verbs, in the order in which help lists them.
std::vector<std::unique_ptr<Verb>> make_verbs();

}  // namespace kelvo::tool
