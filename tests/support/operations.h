// SPDX-License-Identifier: Apache-2.0
//
// Every operation that takes a received buffer, run by name on a block of bytes, with an outcome
// that can be compared: for tests against models, for fuzzers and for measurements.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kelvo::test {

/// The operations. Readers (bulk, notification sets) are driven to their end.
#define KELVO_TEST_OPERATIONS(X)                                                                   \
    X(get_interpret)                                                                               \
    X(get_interpret_endian_ntoh)                                                                   \
    X(set_interpret)                                                                               \
    X(set_interpret_endian_ntoh)                                                                   \
    X(create_interpret)                                                                            \
    X(create_interpret_endian_ntoh)                                                                \
    X(delete_interpret)                                                                            \
    X(delete_interpret_endian_ntoh)                                                                \
    X(verify_interpret)                                                                            \
    X(verify_interpret_endian_ntoh)                                                                \
    X(rply_item_get_interpret_ntoh)                                                                \
    X(rply_item_get_interpret_hton)                                                                \
    X(transtart_interpret)                                                                         \
    X(trancommit_interpret)                                                                        \
    X(tranabort_interpret)                                                                         \
    X(item_wrlock_interpret)                                                                       \
    X(item_rdlock_interpret)                                                                       \
    X(item_unlock_interpret)                                                                       \
    X(get_items_interpret)                                                                         \
    X(get_items_interpret_endian_ntoh)                                                             \
    X(copy_subtree_interpret)                                                                      \
    X(bind_interpret)                                                                              \
    X(list_interpret)                                                                              \
    X(datalist_interpret)                                                                          \
    X(rply_list_interpret_endian_ntoh)                                                             \
    X(rply_datalist_interpret_endian_ntoh)                                                         \
    X(find_interpret)                                                                              \
    X(find_interpret_endian_ntoh)                                                                  \
    X(find_interpret_endian_hton)                                                                  \
    X(find_grp_ag_interpret_endian_ntoh)                                                           \
    X(rply_grp_ag_interpret_endian_ntoh)                                                           \
    X(bulk_read)                                                                                   \
    X(bulk_reply_read)                                                                             \
    X(common_notifyset_read)                                                                       \
    X(lib_notifyset_read)                                                                          \
    X(nfn_reg_interpret)                                                                           \
    X(nfn_unreg_interpret)                                                                         \
    X(vrfn_unreg_interpret)                                                                        \
    X(edm_unreg_interpret)                                                                         \
    X(vrfn_reg_interpret)                                                                          \
    X(vs_reg_interpret)                                                                            \
    X(vs_unreg_interpret)                                                                          \
    X(edms_unreg_interpret)                                                                        \
    X(edm_reg_interpret)                                                                           \
    X(edms_reg_interpret)                                                                          \
    X(cfg_grp_interpret)                                                                           \
    X(nfn_reg_interpret_ntoh)                                                                      \
    X(nfn_reg_interpret_hton)                                                                      \
    X(vrfn_reg_interpret_ntoh)                                                                     \
    X(vrfn_reg_interpret_hton)                                                                     \
    X(vs_reg_interpret_ntoh)                                                                       \
    X(vs_reg_interpret_hton)                                                                       \
    X(edms_reg_interpret_ntoh)                                                                     \
    X(edms_reg_interpret_hton)                                                                     \
    X(edm_reg_interpret_ntoh)                                                                      \
    X(edm_reg_interpret_hton)                                                                      \
    X(reg_activate_interpret_ntoh)                                                                 \
    X(reg_activate_interpret_hton)                                                                 \
    X(rply_cb_get_apply_interpret_ntoh)                                                            \
    X(rply_cb_get_apply_interpret_hton)                                                            \
    X(rply_cb_get_verify_interpret_ntoh)                                                           \
    X(rply_cb_get_verify_interpret_hton)                                                           \
    X(errorset_iterate_ntoh)                                                                       \
    X(errorset_iterate_hton)                                                                       \
    X(sm_cb_response_interpret_ntoh)                                                               \
    X(sm_cb_response_interpret_hton)                                                               \
    X(rply_smset_interpret_ntoh)                                                                   \
    X(rply_smset_interpret_hton)                                                                   \
    X(temp_interpret_ntoh)                                                                         \
    X(temp_interpret_hton)                                                                         \
    X(rply_temp_interpret_ntoh)                                                                    \
    X(rply_temp_interpret_hton)

enum class Operation : std::uint32_t {
#define KELVO_TEST_ENUMERATOR(name) name,
    KELVO_TEST_OPERATIONS(KELVO_TEST_ENUMERATOR)
#undef KELVO_TEST_ENUMERATOR
};

#define KELVO_TEST_COUNT(name) +1
inline constexpr std::uint32_t kOperationCount = 0 KELVO_TEST_OPERATIONS(KELVO_TEST_COUNT);
#undef KELVO_TEST_COUNT

[[nodiscard]] const char* name_of(Operation operation);

/// One output: what it is called and its value. Pointers into the block are offsets.
struct Output {
    const char* name;
    std::uint64_t value;

    friend bool operator==(const Output& a, const Output& b) {
        return a.value == b.value && std::string_view(a.name) == b.name;
    }
};

/// A null pointer among the outputs.
inline constexpr std::uint64_t kNullPointer = 0x4E55'4C4C'0000'0000;

/// What came of a run. Of one that fails, outputs that were written all the same are listed, too.
struct Outcome {
    std::uint32_t status = 0;
    std::vector<Output> outputs;  ///< in the order of the arguments
    std::string text;             ///< one that the operation has made

    friend bool operator==(const Outcome&, const Outcome&) = default;
    friend void PrintTo(const Outcome& outcome, std::ostream* out) { outcome.print(*out); }
    void print(std::ostream& out) const;
};

/// Runs an operation on the first `length` bytes at `block`. Whatever it hands out is copied into
/// `outcome` and released with the function that its header names; a failed VS or EDMS registration
/// leaves entries behind, which is meant. An item get in network order whose count is not 1 ends
/// the process.
void run(Operation operation, void* block, std::uint32_t length, Outcome& outcome);

}  // namespace kelvo::test
