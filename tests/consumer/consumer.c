/* SPDX-License-Identifier: Apache-2.0 */
/* A C program that composes a request, flattens it and reads it back. */
#include <kelvo_common_msg_item.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(void) {
    uint8_t header[48] = {0};
    kelvo_length_cell count = {0, 0}, type = {0, 0}, name = {0, 0};
    kelvo_slot list[6];
    char path[] = "cfg/gl/a";
    kelvo_lib_msg_item_get_compose(header, &count.length, &type.length, &name.length, path, 7,
                                   list);

    uint32_t size = 0;
    uint8_t* message = NULL;
    kelvo_common_msg_iovs_length(list, 6, &size);
    if (kelvo_common_msg_iovs_to_buffer(list, 6, size, &message) != 0) return 1;

    char* found = NULL;
    uint32_t argument = 0;
    if (kelvo_common_msg_get_interpret_endian_ntoh(message, (int32_t)size, &found, &argument) != 0)
        return 2;
    if (strcmp(found, path) != 0 || argument != 7) return 3;
    printf("%s %s\n", kelvo_comm_msg_desc(KELVO_MSG_ITEM_GET), found);
    free(message);
    return 0;
}
