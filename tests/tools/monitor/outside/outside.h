// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/Program.h"
#include "support/watchdog.h"

#include <chrono>
#include <cstdlib>
#include <string>

namespace monitor_outside
{
/// A test of the monitor with a program from elsewhere. Where that is not installed the test is skipped; it fails
/// with ZQ_OUTSIDE=required in the environment, as ./zq check-monitor has it.
class Outside : public zqtest::Program
{
protected:
    explicit Outside(std::string program) : m_program(std::move(program)) {}

    void SetUp() override
    {
        Program::SetUp();
        if (shell("command -v " + m_program).exit_code == 0)
            return;
        const char* const wanted = std::getenv("ZQ_OUTSIDE");
        if (wanted != nullptr && std::string(wanted) == "required")
            FAIL() << "there is no " << m_program;
        GTEST_SKIP() << "there is no " << m_program << "; ./zq check-monitor installs it";
    }

private:
    const std::string m_program;
    const support::watchdog m_watchdog{std::chrono::minutes{4}}; // within the time that CTest gives
};
} // namespace monitor_outside
