// SPDX-License-Identifier: Apache-2.0
//
// The library's resolver as one client sees it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kelvo_node_resolver.h"

namespace kelvo::tool {

/// Who asks.
struct Client {
    std::string process;        ///< the short name that the process goes by; "" for any other
    std::string node;           ///< the node that it is on, as text; "" to ask the platform
    std::uint32_t options = 0;  ///< KELVO_NR_OPT_...

    [[nodiscard]] bool has(std::uint32_t option) const { return (options & option) != 0; }
};

/// What the resolver knows of the process and the platform.
struct Facts {
    std::uint32_t node_id = KELVO_NODEID_INVALID;
    std::uint32_t card_type = 0;
    bool is_single_node = false;
    bool refuses_deprecated = false;
    bool permits_remote_binds = false;
};

/// What it says of a path.
struct Outcome {
    kelvo_status status = 0;
    kelvo_nr_answer answer{};
    bool is_ambiguous = false;
    kelvo_status channel_status = 0;
    std::string channel;              ///< "" when the server is reached by its type
    std::vector<std::string> logged;  ///< what the library has logged about it
};

class Resolver {
  public:
    /// Starts the resolver. Throws a Failure when the platform does not say who this node is.
    explicit Resolver(const Client& client);
    ~Resolver();
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;

    [[nodiscard]] Outcome resolve(const std::string& prefix, const std::string& path) const;
    [[nodiscard]] const Client& client() const { return client_; }
    [[nodiscard]] const Facts& facts() const { return facts_; }

  private:
    Client client_;
    Facts facts_;
};

/// "0_1_0"; a hexadecimal number when the platform has no text for it.
std::string text_of_node(std::uint32_t node_id);

/// The process names that change what the resolver does.
inline constexpr const char* kShowTool = "kelvoshow";
inline constexpr const char* kManagementProcess = "kelvo_mc";

}  // namespace kelvo::tool
