// SPDX-License-Identifier: Apache-2.0
// A C++ program that uses library and platform.
#include <kelvo_common_msg_bind.h>
#include <kelvo_platform.h>

#include <cstdio>
#include <cstring>

int main() {
    std::printf("%s: %s\n", kelvo_comm_msg_desc(KELVO_MSG_BIND),
                errcode_strerror(KELVO_ERR_NO_OWNER));
    return std::strstr(errcode_strerror(KELVO_ERR_NO_OWNER), "owns the path") == nullptr ? 1 : 0;
}
