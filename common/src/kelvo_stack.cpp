// SPDX-License-Identifier: Apache-2.0
//
// The stack: a singly linked list, top first.
#include "kelvo_stack.h"

#include <cstdlib>
#include <cstring>

#include "kelvo_bytes.h"
#include "kelvo_report.h"

using namespace kelvo;

namespace {

/// A node with a copy of the value, or null. An empty value has a block of its own too, since pop
/// hands one out.
kelvo_stack_node* make_node(const void* value, u64 size) {
    auto* const node = static_cast<kelvo_stack_node*>(std::malloc(sizeof(kelvo_stack_node)));
    if (node == nullptr) return nullptr;
    void* const copy = std::malloc(size != 0 ? size : 1);
    if (copy == nullptr) {
        std::free(node);
        return nullptr;
    }
    *node = {std::memcpy(copy, value, size), size, nullptr};
    return node;
}

/// Takes the top node off. The value is the caller's.
void unlink_top(kelvo_stack* stack) {
    kelvo_stack_node* const node = stack->top;
    stack->top = node->next;
    --stack->depth;
    std::free(node);
}

}  // namespace

kelvo_status stack_init(uint32_t argument, kelvo_stack** stack) {
    if (stack == nullptr) return refuse_null();
    auto* const made = static_cast<kelvo_stack*>(std::malloc(sizeof(kelvo_stack)));
    if (made == nullptr) return KELVO_ERR_NO_MEMORY;
    *made = {argument, 0, nullptr};
    *stack = made;
    return 0;
}

kelvo_status stack_is_empty(const kelvo_stack* stack, uint32_t* is_empty) {
    if (any_null(stack, is_empty)) return refuse_null();
    *is_empty = stack->top == nullptr ? 1 : 0;
    return 0;
}

kelvo_status stack_shutdown(kelvo_stack* stack) {
    if (stack == nullptr) return refuse_null();
    while (stack->top != nullptr) {
        std::free(stack->top->value);
        unlink_top(stack);
    }
    std::free(stack);
    return 0;
}

kelvo_status stack_push(kelvo_stack* stack, const void* value, uint64_t size) {
    if (any_null(stack, value)) return refuse_null();
    kelvo_stack_node* const node = make_node(value, size);
    if (node == nullptr) return KELVO_ERR_NO_MEMORY;
    node->next = stack->top;
    stack->top = node;
    ++stack->depth;
    return 0;
}

kelvo_status stack_pop(kelvo_stack* stack, void** value, uint64_t* size) {
    if (any_null(stack, value, size)) return refuse_null();
    if (stack->top == nullptr) return KELVO_ERR_STACK_EMPTY_POP;
    *value = stack->top->value;
    *size = stack->top->size;
    unlink_top(stack);
    return 0;
}

kelvo_status stack_peek(const kelvo_stack* stack, void** value, uint64_t* size) {
    if (any_null(stack, value, size)) return refuse_null();
    if (stack->top == nullptr) return KELVO_ERR_STACK_EMPTY_PEEK;
    *value = stack->top->value;
    *size = stack->top->size;
    return 0;
}
