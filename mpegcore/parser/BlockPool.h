// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/BlockAllocator.h"

#include <cstddef>

namespace mpegcore
{
/// Bytes taken by take_block on this thread, or expected, less those given back on it; only differences mean something.
std::size_t block_bytes() noexcept;
/// Counts blocks that what was read may take later.
void expect_block_bytes(std::size_t bytes) noexcept;
} // namespace mpegcore
