// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/program.h"
#include "tools/monitor/command_line.h"
#include "tools/monitor/monitor_run.h"

int main(int argc, char** argv)
{
    const tools::program program{"zq-monitor"};
    monitor::options options;
    std::string text;
    const auto asked = monitor::parse_command_line({argv + 1, argv + argc}, ZQ_VERSION, options, text);
    if (const auto exit_code = program.answer(asked, text))
        return *exit_code;
    tools::take_signals();
    return monitor::monitor_run(options, ZQ_VERSION).to_end();
}
