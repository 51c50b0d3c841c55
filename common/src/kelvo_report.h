// SPDX-License-Identifier: Apache-2.0
//
// Reports to the operator, against the record "INTERNAL", and the one way to refuse a null
// argument.
#pragma once

#include "kelvo_msg_records.h"
#include "kelvo_platform.h"
#include "kelvo_status.h"

namespace kelvo {

/// Logs a fixed description with a code and the code's text.
inline void report_internal(const char* description, kelvo_status status) noexcept {
    qor_errmsg(&qor_msg_rec_kelvoutils_internal, 7, description, status, errcode_strerror(status));
}

/// True when any of the pointers is null.
template <class... Pointers>
[[nodiscard]] constexpr bool any_null(Pointers... pointers) noexcept {
    return (... || (pointers == nullptr));
}

/// Logs that a required pointer is null and yields the status for it. Areas that stay silent return
/// KELVO_ERR_NULL_PARAM themselves.
[[nodiscard, gnu::cold, gnu::noinline]] inline kelvo_status refuse_null() noexcept {
    report_internal("A NULL pointer was passed as a fn parameter", KELVO_ERR_NULL_PARAM);
    return KELVO_ERR_NULL_PARAM;
}

}  // namespace kelvo
