// SPDX-License-Identifier: Apache-2.0
//
// Registrations of notifiers and verifiers. The converters of these messages trust what they
// convert; the dispatcher has asked the guard.
#include <cstdlib>
#include <memory>

#include "handlers.h"
#include "kelvo_common_msg_registration.h"

namespace example {
namespace {

using UnregisterReader = decltype(&kelvo_common_msg_nfn_unreg_interpret);

// Unregistrations have no converter: their one word is handed out as it came.
kelvo_status read_unregistration(Request& request, UnregisterReader read, std::uint32_t& id) {
    const kelvo_status status = read(request.data(), request.length(), &id);
    id = network(id);
    return status;
}

}  // namespace

std::optional<Reply> handle_register_notifier(Request& request) {
    std::uint32_t id, parameter;
    void* client_block;
    char* path;
    if (const kelvo_status status =
            kelvo_common_msg_nfn_reg_interpret_ntoh(request.data(), request.length()))
        return result(status);
    if (const kelvo_status status = kelvo_common_msg_nfn_reg_interpret(
            request.data(), request.length(), &id, &client_block, &parameter, &path))
        return result(status);
    if (const kelvo_status status = request.service.owns(path)) return result(status);
    return result(request.service.notifiers().add(request.client, id, path));
}

std::optional<Reply> handle_unregister_notifier(Request& request) {
    std::uint32_t id = 0;
    if (const kelvo_status status =
            read_unregistration(request, kelvo_common_msg_nfn_unreg_interpret, id))
        return result(status);
    return result(request.service.notifiers().remove(request.client, id));
}

// The converter checks nothing: the reader behind it does.
std::optional<Reply> handle_register_verifier(Request& request) {
    kelvo_common_msg_vrfn_reg_interpret_ntoh(request.data(), request.length());
    std::uint32_t id, w2, w3, w4, w5, count, w6, w7;
    void* client_block;
    char** texts;
    if (const kelvo_status status = kelvo_common_msg_vrfn_reg_interpret(
            request.data(), request.length(), &id, &w2, &client_block, &w3, &w4, &w5, &count, &w7,
            &texts, &w6))
        return result(status);
    const std::unique_ptr<char*, decltype(&std::free)> owner(texts, &std::free);
    const std::vector<std::string> paths(texts, texts + count);
    for (const std::string& path : paths)
        if (const kelvo_status status = request.service.owns(path)) return result(status);
    return result(request.service.verifiers().add(request.client, id, paths));
}

std::optional<Reply> handle_unregister_verifier(Request& request) {
    std::uint32_t id = 0;
    if (const kelvo_status status =
            read_unregistration(request, kelvo_common_msg_vrfn_unreg_interpret, id))
        return result(status);
    return result(request.service.verifiers().remove(request.client, id));
}

}  // namespace example
