// SPDX-License-Identifier: Apache-2.0
//
// Where failures were injected: the return addresses of the calls that a failing allocator or
// platform refused. With KELVO_FAILED_SITES in the environment, a program writes them to a file of
// its name in that directory when it ends, a line for each: the file that the call stands in, and
// the offset in hexadecimal from where that is loaded. Child processes add theirs.
#pragma once

#include <string>

namespace kelvo::test {

/// Adds the site of a refused call.
void add_failed_site(const void* return_address) noexcept;

/// The file name, without its directory, of the shared object or program that an address lies in.
std::string file_of(const void* address);

}  // namespace kelvo::test
