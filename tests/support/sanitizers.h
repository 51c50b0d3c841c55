// SPDX-License-Identifier: Apache-2.0
//
// Which sanitizers a test is built with: 1 or 0. Compilers say it in different ways.
#pragma once

#if defined(__has_feature)
#define KELVO_SANITIZES_ADDRESS __has_feature(address_sanitizer)
#define KELVO_SANITIZES_THREADS __has_feature(thread_sanitizer)
#else
#if defined(__SANITIZE_ADDRESS__)
#define KELVO_SANITIZES_ADDRESS 1
#else
#define KELVO_SANITIZES_ADDRESS 0
#endif
#if defined(__SANITIZE_THREAD__)
#define KELVO_SANITIZES_THREADS 1
#else
#define KELVO_SANITIZES_THREADS 0
#endif
#endif
