// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdlib>
#include <filesystem>
#include <optional>

namespace zqtest
{
/// The folder of recorded streams that ZQ_SAMPLE_DIR names, if it names one.
inline std::optional<std::filesystem::path> sample_folder()
{
    const char* const folder = std::getenv("ZQ_SAMPLE_DIR");
    if (folder == nullptr || *folder == '\0')
        return std::nullopt;
    return folder;
}
} // namespace zqtest
