// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs a fuzz target over files and the files of folders, without a fuzzer: fuzz_replay TARGET FILE_OR_FOLDER...
#include "fuzz/replay_target.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>
#include <vector>

namespace
{
namespace fs = std::filesystem;

std::vector<fs::path> files_under(const fs::path& path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

bool replay(const zqfuzz::replay_target& target, const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open()) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    // A block of exactly this size, so that a sanitizer sees one byte too many.
    const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), block.get());
    target.take(block.get(), bytes.size());
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    const std::string_view name = argc > 1 ? argv[1] : "";
    const auto& targets = zqfuzz::replay_targets();
    const auto target =
        std::find_if(targets.begin(), targets.end(), [name](const auto& each) { return each.name == name; });
    if (target == targets.end()) {
        std::fprintf(stderr, "there is no target \"%.*s\"\n", static_cast<int>(name.size()), name.data());
        return 1;
    }
    std::size_t replayed = 0;
    for (int at = 2; at < argc; ++at)
        for (const auto& file : files_under(argv[at])) {
            if (!replay(*target, file))
                return 1;
            ++replayed;
        }
    std::printf("%zu inputs\n", replayed);
    return replayed == 0 ? 1 : 0;
}
