// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs a fuzz target over files and the files of folders, without a fuzzer.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

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

bool replay(const fs::path& path)
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
    LLVMFuzzerTestOneInput(block.get(), bytes.size());
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    std::size_t replayed = 0;
    for (int at = 1; at < argc; ++at)
        for (const auto& file : files_under(argv[at])) {
            if (!replay(file))
                return 1;
            ++replayed;
        }
    std::printf("%zu inputs\n", replayed);
    return replayed == 0 ? 1 : 0;
}
