// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/child_process.h"

#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace child_process_test
{
using namespace std::chrono_literals;

/// A shell that does `on_sigterm` when it is told to end, and nothing else.
class ChildProcess : public testing::Test
{
protected:
    void begin(const std::string& on_sigterm)
    {
        std::filesystem::create_directories(folder);
        const std::string script = "trap '" + on_sigterm + "' TERM; echo ready; while :; do sleep 0.05; done";
        child = std::make_unique<support::child_process>(folder, "shell", std::vector<std::string>{"sh", "-c", script});
        ASSERT_TRUE(support::eventually([&] { return child->output() == "ready\n"; }));
    }
    ~ChildProcess() override
    {
        child.reset();
        std::filesystem::remove_all(folder);
    }

    support::watchdog guard;
    std::filesystem::path folder = std::filesystem::temp_directory_path() / ("zq-child-" + std::to_string(::getpid()));
    std::unique_ptr<support::child_process> child;
};

TEST_F(ChildProcess, TellsTheExitCodeOfOneThatEnds)
{
    begin("exit 3");
    EXPECT_EQ(child->end(), 3);
    EXPECT_EQ(child->end(), -1) << "ended before";
}

TEST_F(ChildProcess, IsKilledWhenItDoesNotEndInTime)
{
    begin("");
    EXPECT_EQ(child->end(SIGTERM, 50ms), -1);
    EXPECT_FALSE(child->is_alive());
}
} // namespace child_process_test
