// SPDX-License-Identifier: Apache-2.0
#include "verbs.h"

namespace kelvo::tool {

std::vector<std::unique_ptr<Verb>> make_verbs() {
    std::vector<std::unique_ptr<Verb>> verbs;
    for (const auto make : {
             make_resolve,
             make_status,
         }) {
        verbs.push_back(make());
    }
    return verbs;
}

}  // namespace kelvo::tool
