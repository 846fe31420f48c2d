// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace zqtest
{
/// Runs programs in a folder of their own, which goes with the test.
class Program : public testing::Test
{
protected:
    struct Result
    {
        int exit_code;    ///< -1 when a signal ended it
        std::string text; ///< what the command line wrote to both outputs
    };

    void SetUp() override
    {
        std::string name = (std::filesystem::temp_directory_path() / "zq-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    /// A command line in the folder.
    [[nodiscard]] Result shell(const std::string& line) const
    {
        const std::string command = "cd '" + folder.string() + "' && (" + line + ") 2>&1";
        std::FILE* const pipe = popen(command.c_str(), "r");
        std::string text;
        std::array<char, 4096> part;
        for (std::size_t size; (size = std::fread(part.data(), 1, part.size(), pipe)) > 0;)
            text.append(part.data(), size);
        const int status = pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
    }

    void write_file(const std::string& name, const std::vector<unsigned char>& bytes) const
    {
        std::ofstream(folder / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    std::filesystem::path folder;
};
} // namespace zqtest
