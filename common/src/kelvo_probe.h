// SPDX-License-Identifier: Apache-2.0
//
// Static probes for tracers (docs/probes.md). A probe is one instruction that does nothing and a
// note in the object that says where it is and where its arguments lie; without a tracer nothing is
// evaluated for it that is not there anyway. Without the header that makes them there are none.
#pragma once

#ifndef KELVO_PROBES
#define KELVO_PROBES 0
#endif

#if KELVO_PROBES
#define SDT_USE_VARIADIC
#include <sys/sdt.h>
#define KELVO_PROBE(name, ...) STAP_PROBEV(kelvo, name, __VA_ARGS__)
#else
#define KELVO_PROBE(name, ...) static_cast<void>(0)
#endif
