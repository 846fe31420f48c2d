// SPDX-License-Identifier: LGPL-2.1-or-later
#include "running_monitor.h"
#include "support/Program.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

namespace demo_page_test
{
using testing::EndsWith;
using testing::HasSubstr;

/// ./zq in a tree of its own, where all packages are installed and what is to be built has been built.
class DemoPage : public zqtest::Program
{
protected:
    void SetUp() override
    {
        Program::SetUp();
        std::filesystem::create_directories(folder / "build/release/tools/monitor");
        std::filesystem::copy_file(ZQ_SOURCE_DIR "/zq", folder / "zq");
        write_script("bin/cmake", "echo \"$@\" >>'" + (folder / "asked").string() + "'");
        write_script("bin/dpkg-query", "printf installed");
    }

    void write_script(const std::filesystem::path& name, const std::string& line) const
    {
        std::filesystem::create_directories((folder / name).parent_path());
        std::ofstream(folder / name) << "#!/bin/sh\n" << line << '\n';
        std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
    }

    [[nodiscard]] std::string path() const { return "PATH=" + (folder / "bin").string() + ':' + std::getenv("PATH"); }

    /// The last words that cmake was called with.
    [[nodiscard]] std::string asked_last() const
    {
        std::ifstream file(folder / "asked");
        std::string last;
        for (std::string line; std::getline(file, line);)
            last = line;
        return last;
    }
};

TEST_F(DemoPage, IsServedWithTheStreamsOfTheMonitorItself)
{
    const support::watchdog watchdog;
    std::filesystem::create_symlink(ZQ_MONITOR_TOOL, folder / "build/release/tools/monitor/zq-monitor");
    support::child_process program(folder, "demo", {"env", path(), "./zq", "demo", "--page", "0"});
    const auto port = monitor_runs::port_told_by(program);
    ASSERT_NE(port, 0) << program.errors();
    EXPECT_EQ(asked_last(), "--build --preset release --target zq_monitor_tool");
    EXPECT_TRUE(support::eventually([&] { return monitor_runs::streams_at(port).size() == 6; }));
    EXPECT_THAT(monitor_http::ask(port, "/"), HasSubstr("<title>zq-monitor</title>"));
    EXPECT_EQ(program.end(), 0);
}

TEST_F(DemoPage, IsWhatTheDemoOfTheElementNamesAtItsEnd)
{
    write_script("build/release/examples/zq_demo", "echo shown");
    write_script("build/release/tools/monitor/zq-monitor", "echo \"$@\"");
    const auto demo = shell(path() + " ./zq demo");
    EXPECT_EQ(demo.exit_code, 0) << demo.text;
    EXPECT_THAT(demo.text, EndsWith("on a page at http://127.0.0.1:8080/: ./zq demo --page\n"));
    EXPECT_EQ(shell(path() + " ./zq demo --page").text, "--demo --http 8080\n");
}
} // namespace demo_page_test
