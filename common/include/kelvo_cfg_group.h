/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file kelvo_cfg_group.h
 * What the configuration apply path shares: a list of paired bits, access options from the shape of
 * a path, lists of configuration-group names.
 *
 * Configuration may be defined in named groups below "cfg/gl/a/config-group/" and applied elsewhere
 * in the tree.
 */
#ifndef KELVO_CFG_GROUP_H
#define KELVO_CFG_GROUP_H

#include "kelvo_status.h"
#include "kelvo_types.h"

KELVO_EXTERN_C_BEGIN

/**
 * @name Apply bitmask
 *
 * A growing list of entries of two bits each. The record is the caller's and begins as all zero:
 *
 *     kelvo_apply_bitmask mask = {0};
 *     kelvo_apply_bitmask_add(1, 0, &mask);
 *
 *     uint32_t first;
 *     uint32_t second;
 *     kelvo_apply_bitmask_start(&mask);
 *     while (kelvo_apply_bitmask_next(&mask, &first, &second), first != KELVO_APPLY_BITMASK_END) {
 *         // one entry
 *     }
 *     kelvo_apply_bitmask_free(&mask);
 *
 * Pointers must not be null. A record belongs to one caller at a time.
 */
/**@{*/

/** Entry i has its bits in word i / 32 of both arrays, at bit i mod 32. */
typedef struct kelvo_apply_bitmask {
    uint32_t count;        /**< number of entries added */
    uint32_t cursor;       /**< the entry that iteration returns next */
    uint32_t* first_bits;  /**< the first bit of each entry; null when there is no entry */
    uint32_t* second_bits; /**< the second bit of each entry */
} kelvo_apply_bitmask;

KELVO_ASSERT_OFFSET(kelvo_apply_bitmask, count, 0);
KELVO_ASSERT_OFFSET(kelvo_apply_bitmask, cursor, 4);
KELVO_ASSERT_OFFSET(kelvo_apply_bitmask, first_bits, 8);
KELVO_ASSERT_OFFSET(kelvo_apply_bitmask, second_bits, 16);
KELVO_ASSERT_SIZE(kelvo_apply_bitmask, 24);

/** What kelvo_apply_bitmask_next() gives as the first bit at the end. */
#define KELVO_APPLY_BITMASK_END 0xFFFFFFFFu

/** Begins an iteration: the next entry returned is the first one added. */
KELVO_API void kelvo_apply_bitmask_start(kelvo_apply_bitmask* mask);

/**
 * Adds an entry at the end.
 * @param first   0 or 1
 * @param second  0 or 1
 * @param mask    the mask
 * @return ::KELVO_ERR_NO_MEMORY, the entries being left as they are; 0
 *
 * Note: the values are not masked. The further bits of a larger value show up in entries added
 * later, up to the next multiple of 32.
 */
KELVO_API kelvo_status kelvo_apply_bitmask_add(uint32_t first, uint32_t second,
                                               kelvo_apply_bitmask* mask);

/**
 * Returns the entry at the cursor and moves on. At the end, *first becomes
 * ::KELVO_APPLY_BITMASK_END and *second is left as it is.
 * @return 0, which means nothing
 */
KELVO_API uint32_t kelvo_apply_bitmask_next(kelvo_apply_bitmask* mask, uint32_t* first,
                                            uint32_t* second);

/**
 * Releases the arrays and sets them to null.
 *
 * Note: count and cursor stay. Set the record to zero before using it again; until then it has no
 * entry to return, and kelvo_apply_bitmask_add() answers ::KELVO_ERR_NULL_PARAM unless the count
 * is 0.
 */
KELVO_API void kelvo_apply_bitmask_free(kelvo_apply_bitmask* mask);

/**@}*/

/** Access options by the shape of a path. What each grants is for the apply path to say. */
enum {
    KELVO_ACCESS_CONFIG_GROUP = 0x1000, /**< starts with "cfg/gl/a/config-group/" */
    KELVO_ACCESS_ENDS_AG = 0x2000,      /**< ends with "/ag" */
    KELVO_ACCESS_ENDS_AZA = 0x10000,    /**< ends with "/aza" or "/aya" */
    KELVO_ACCESS_GLOBAL_AG = 0x20000,   /**< starts with "cfg/gl/ag" */
    KELVO_ACCESS_GLOBAL_AH = 0x40000,   /**< starts with "cfg/gl/ah" */
    KELVO_ACCESS_ENDS_AH = 0x80000,     /**< ends with "/ah" */
    KELVO_ACCESS_ENDS_EX = 0x100000     /**< ends with "@EX" */
};

/**
 * Adds to *options the access option that a path's shape asks for.
 *
 * The first rule that applies decides, in this order:
 *
 *  -# starts with "cfg/gl/a/config-group/": ::KELVO_ACCESS_CONFIG_GROUP
 *  -# starts with "cfg/gl/ag": ::KELVO_ACCESS_GLOBAL_AG
 *  -# ends with "/ag": ::KELVO_ACCESS_ENDS_AG
 *  -# ends with "/aza" or "/aya": ::KELVO_ACCESS_ENDS_AZA
 *  -# starts with "cfg/gl/ah": ::KELVO_ACCESS_GLOBAL_AH
 *  -# ends with "/ah": ::KELVO_ACCESS_ENDS_AH, but nothing when it starts with "cfg/if/pre"
 *  -# ends with "@EX": ::KELVO_ACCESS_ENDS_EX, but nothing when it starts with "cfg/if/pre" or
 *     "cfg/gl/cmt"
 *
 * A path shorter than an ending does not end with it.
 *
 * @return ::KELVO_ERR_NULL_PARAM, not logged, when an argument is null; 0
 */
KELVO_API kelvo_status kelvo_update_access_options_common(const char* path, uint32_t* options);

/**
 * @name Group names
 *
 * A list of group names is the caller's array of texts with a count. Entries may be null. The texts
 * belong to the list; kelvo_free_grp_names() releases them.
 */
/**@{*/

/** A packed tuple carries at most this many names. */
#define KELVO_GRP_TUPLE_NAMES 8u
/** A name that the list holds has a block of this size; longer names are cut. */
#define KELVO_GRP_NAME_BYTES 256u

/** @return 1 when the name equals one of the first `count` entries, else 0. A null argument is
 *  logged and gives 0. */
KELVO_API uint32_t kelvo_group_name_in_list(const char* name, char** list, uint32_t count);

/**
 * Adds the names that a packed tuple carries to a list. Empty names, and names that the list has
 * already, are passed over.
 *
 * @param tuple  as the platform's packed_tuple_unpack() takes it
 * @param list   must have room for 8 entries after the first *count
 * @param count  number of entries; raised by the number added
 *
 * @return ::KELVO_ERR_NULL_PARAM, logged, when an argument is null; ::KELVO_ERR_NO_MEMORY; the
 *         platform's status when it could not unpack the tuple; 0. On failure list and count are
 *         left as they are.
 *
 * Note: when memory runs out, the buffers that the call had allocated until then are not released.
 */
KELVO_API kelvo_status kelvo_apply_grp_tuple_unpack(const void* tuple, char** list,
                                                    uint32_t* count);

/** Releases the first `count` entries and sets them to null; a negative count is none. A null list
 *  is logged. */
KELVO_API void kelvo_free_grp_names(char** list, int32_t count);

/**
 * Reads the group name out of a configuration-group path: what stands between "a/config-group/" and
 * the next "/".
 *
 * @param path  contains "a/config-group/", a name and a "/"; this is the caller's to see to
 * @return a new text, cut to 255 characters, released with free(); null when there is no memory, or
 *         when the path is null or has no such part
 */
KELVO_API char* kelvo_get_cfg_group_name_from_path(const char* path);

/**@}*/

KELVO_EXTERN_C_END

#endif
