// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

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

inline std::string contents(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<std::string> lines_of(const std::filesystem::path& path)
{
    std::istringstream text(contents(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

/// The samples that have a file with this ending beside them: their paths without an ending, in order.
inline std::vector<std::string> sample_names(const std::string& ending)
{
    std::vector<std::string> names;
    const auto folder = sample_folder();
    if (!folder)
        return names;
    for (const auto& entry : std::filesystem::directory_iterator(*folder))
        if (std::filesystem::exists(std::filesystem::path(entry.path()).replace_extension(ending)))
            names.push_back((entry.path().parent_path() / entry.path().stem()).string());
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}
} // namespace zqtest
