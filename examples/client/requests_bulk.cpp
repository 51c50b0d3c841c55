// SPDX-License-Identifier: Apache-2.0
//
// Bulk, built with the library's builder and read with its reply reader. The items travel in this
// host's order; the other side finds out whether that is its own.
#include "bulk_operations.h"

#include <new>

#include "requests.h"

namespace example {
namespace {

// A builder that is freed with its scope. It stays where it is until the list has been sent: one of
// the slots points into it.
class Builder {
  public:
    Builder(kelvo_msg_bulk& header, const std::string& leading,
            const std::vector<Operation>& operations)
        : count_(static_cast<std::uint32_t>(operations.size())) {
        if (kelvo_common_msg_bulk_init(&header, count_, 0, 0, leading.c_str(), &builder_) != 0)
            throw std::bad_alloc();
        for (std::uint32_t i = 0; i < count_; ++i) add(i, operations[i]);
    }
    ~Builder() { kelvo_common_msg_bulk_free(&builder_); }
    Builder(const Builder&) = delete;
    Builder& operator=(const Builder&) = delete;

    std::span<const kelvo_slot> slots() const {
        return {builder_.slots,
                std::size_t{count_} * KELVO_BULK_ITEM_SLOTS + KELVO_BULK_LEADING_SLOTS};
    }

  private:
    // Operation 2 has a place of its own for its data.
    void add(std::uint32_t index, const Operation& operation) {
        kelvo_bulk_item item{};
        const auto length = static_cast<std::uint32_t>(operation.value.bytes.size());
        item.operation = operation.code;
        item.type = operation.value.type;
        item.name = operation.name.c_str();
        if (operation.code == KELVO_BULK_OPERATION_2) {
            item.op2_data = operation.value.bytes.data();
            item.op2_data_length = length;
        } else {
            item.data = operation.value.bytes.data();
            item.data_length = length;
        }
        kelvo_common_msg_bulk_add(&item, index, &builder_);
    }

    std::uint32_t count_;
    kelvo_bulk_builder builder_{};
};

kelvo_status read_outcomes(Message& reply, std::size_t count, std::vector<Outcome>& outcomes) {
    if (const kelvo_status status = reply.guard(KELVO_OPERATION_BULK_REPLY_NEXT)) return status;
    kelvo_bulk_reply_info info;
    if (const kelvo_status status =
            kelvo_common_msg_bulk_reply_interpret(reply.data(), reply.length(), &info))
        return status;
    while (outcomes.size() < count) {
        kelvo_bulk_reply_item item;
        if (const kelvo_status status = kelvo_common_msg_bulk_reply_next(&info, &item))
            return status;
        outcomes.push_back(
            {item.third, item.word1,
             value_from(item.type, item.data, static_cast<std::uint32_t>(item.data_length))});
    }
    return 0;
}

}  // namespace

kelvo_status bulk(Session& session, const std::string& leading,
                  const std::vector<Operation>& operations, std::vector<Outcome>& outcomes) {
    kelvo_msg_bulk header{};
    const Builder builder(header, leading, operations);
    Message reply = session.call(&header, builder.slots());
    if (reply.frame().kind == Kind::result) return read_result(reply);
    return read_outcomes(reply, operations.size(), outcomes);
}

}  // namespace example
