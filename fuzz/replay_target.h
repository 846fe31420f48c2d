// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zqfuzz
{
/// A fuzz target that a program without a fuzzer can run.
struct replay_target
{
    std::string_view name;
    int (*take)(const std::uint8_t* data, std::size_t size);
};

/// All that were built.
[[nodiscard]] const std::vector<replay_target>& replay_targets();
} // namespace zqfuzz
