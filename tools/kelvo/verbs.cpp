// SPDX-License-Identifier: Apache-2.0
#include "verbs.h"

namespace kelvo::tool {

std::vector<std::unique_ptr<Verb>> make_verbs() {
    std::vector<std::unique_ptr<Verb>> verbs;
    for (const auto make : {
             make_decode,
             make_encode,
             make_resolve,
             make_graph,
             make_match,
             make_order,
             make_name_encode,
             make_name_decode,
             make_status,
             make_types,
             make_platform_check,
         }) {
        verbs.push_back(make());
    }
    return verbs;
}

}  // namespace kelvo::tool
