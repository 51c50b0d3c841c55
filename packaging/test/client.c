/* SPDX-License-Identifier: Apache-2.0 */
/* The least of a client: which server owns the path? */
#include <kelvo_node_resolver.h>
#include <kelvo_platform.h>
#include <kelvo_util_nodeid.h>
#include <stdio.h>

int main(int argc, char **argv) {
    kelvo_nr_answer answer;
    uint32_t node = 0;
    kelvo_status status = platform_my_nodeid(&node);
    if (status == 0) status = kelvo_nr_init(0, node, NULL);
    if (status == 0) status = kelvo_nr_lookup_node("", argc > 1 ? argv[1] : "cfg/gl/name", 0, &answer, NULL);
    puts(status != 0 ? errcode_strerror(status) : kelvo_comm_nodetype_desc(answer.node_type));
    kelvo_nr_shutdown();
    return status != 0;
}
