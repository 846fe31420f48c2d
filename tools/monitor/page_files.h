// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <array>

namespace monitor::page_files
{
/// A file of the folder page/, as the build put it into the program.
struct file
{
    const char* path; ///< of its URL
    const char* content_type;
    const char* content;
};

extern const std::array<file, 4> all; ///< the page itself first
} // namespace monitor::page_files
