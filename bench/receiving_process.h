// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <functional>
#include <string>

namespace bench
{
/// Sources to be measured: each plays into a fakesink of its own, in one pipeline.
struct receiver
{
    std::string element;          ///< with its properties; the port takes the place of PORT, or stands behind them
    std::uint16_t first_port = 0; ///< the others take those behind it
    unsigned count = 1;
    unsigned long per_buffer = 1; ///< datagrams of 1316 bytes, or packets, in a buffer; 0: told from its bytes
};

struct figures
{
    double cpu_us = 0;          ///< of the whole process while datagrams came
    unsigned long received = 0; ///< datagrams or packets that the sinks had
    unsigned long peak_kb = 0;
    double kb_per_source = 0; ///< resident memory above that of the same process with its sources gone
};

/// Has `wanted` receive in a process of its own what `send` sends, and gives what that process tells.
[[nodiscard]] figures measure(const receiver& wanted, const std::function<void()>& send);

/// The receiving process: call it first thing in main(). The exit code, or -1 when this process is none.
[[nodiscard]] int receive_if_asked(int argc, char** argv);
} // namespace bench
