// SPDX-License-Identifier: Apache-2.0
//
// Bulk: many operations in one request. The leading string is a path ahead of every item's name.
// The operations are this example's; gets are answered as things stood before the request. The
// changes of a request are made together. In the reply an item carries its status, what it read,
// and its full path as the third text.
#include "bulk_operations.h"
#include "handlers.h"
#include "kelvo_common_msg_bulk.h"
#include "status.h"

namespace example {
namespace {

struct Operation {
    std::uint32_t code;
    std::string name;
    Value value;
};

// The reader leaves the leading string to its caller: it must lie in the message and end in NUL.
kelvo_status check_leading(const Request& request) {
    if (request.length() < sizeof(kelvo_msg_bulk)) return KELVO_ERR_MSG_LENGTH;
    const auto fixed = fixed_part<kelvo_msg_bulk>(request.message.data());
    const std::uint32_t length = network(fixed.leading.length);
    if (length > request.length() - sizeof fixed) return KELVO_ERR_MSG_LENGTH;
    if (length == 0 || request.message.data()[sizeof fixed + length - 1] != 0)
        return KELVO_ERR_MSG_CONTENT;
    return 0;
}

Operation operation_of(const kelvo_bulk_item& item) {
    if (item.operation == KELVO_BULK_OPERATION_2)
        return {item.operation, item.name,
                value_from(item.type, item.op2_data, item.op2_data_length)};
    return {item.operation, item.name, value_from(item.type, item.data, item.data_length)};
}

// All items are read before any is carried out.
kelvo_status read_bulk(Request& request, std::string& leading, std::vector<Operation>& operations) {
    if (const kelvo_status status = check_leading(request)) return status;
    kelvo_bulk_info info;
    if (const kelvo_status status =
            kelvo_common_msg_bulk_interpret(request.data(), request.length(), &info))
        return status;
    leading = info.leading;
    for (std::uint32_t i = 0; i < info.count; ++i) {
        kelvo_bulk_item item;
        if (const kelvo_status status = kelvo_common_msg_bulk_next(&info, &item)) return status;
        operations.push_back(operation_of(item));
    }
    return 0;
}

// Carries out a get and collects a change. @return the item's status
kelvo_status carry_out(Request& request, const std::string& path, Operation& operation,
                       Changes& changes) {
    if (const kelvo_status status = request.service.owns(path)) return status;
    const Value* current = request.service.look(request.client, path);
    switch (operation.code) {
        case kBulkGet:
            operation.value = current ? *current : Value{};
            return current ? 0 : KELVO_ERR_NOT_FOUND;
        case kBulkSet:
            if (!storable(operation.value)) return KELVO_ERR_BAD_VALUE_TYPE;
            changes.push_back({path, operation.value});
            return 0;
        case kBulkDelete:
            if (!current) return KELVO_ERR_NOT_FOUND;
            changes.push_back({path, std::nullopt});
            return 0;
        default:
            return KELVO_ERR_NOT_SUPPORTED;
    }
}

// Items travel in their writer's order: the layout's, not the network's.
void add_item(Layout& items, const std::string& path, const Operation& operation,
              kelvo_status status) {
    kelvo_rply_bulk_item fixed{};
    fixed.word1 = status;
    fixed.type = operation.value.type;
    fixed.word3 = operation.code;
    items.fixed(fixed).text(operation.name);
    items.value(operation.code == kBulkGet ? operation.value.bytes : std::vector<std::uint8_t>());
    items.text(path);
}

}  // namespace

std::optional<Reply> handle_bulk(Request& request) {
    std::string leading;
    std::vector<Operation> operations;
    if (const kelvo_status status = read_bulk(request, leading, operations)) return result(status);

    Layout items(Layout::Order::host);
    Changes changes;
    std::uint32_t failed = 0;
    for (Operation& operation : operations) {
        const std::string path = leading + operation.name;
        const kelvo_status status = carry_out(request, path, operation, changes);
        if (status != 0) ++failed;
        add_item(items, path, operation, status);
        if (items.size() > kMaxReply / 2) return result(EXAMPLE_ERR_TOO_LARGE);
    }
    if (!changes.empty()) {
        std::optional<Reply> outcome =
            request.service.change(request.client, request.number(), std::move(changes));
        if (!outcome) return std::nullopt;  // a verifier is asked; a result is all that will follow
        if (status_of(*outcome) != 0) return outcome;
    }
    kelvo_rply_bulk fixed{};
    fixed.word1 = network(static_cast<std::uint32_t>(operations.size()));
    fixed.word2 = network(failed);
    return Reply{Kind::answer, Layout().fixed(fixed).raw(items.take()).take(), "bulk_reply"};
}

}  // namespace example
