// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/demo/packet_source.h"
#include "tools/t2mi/input_clock.h"
#include "tools/t2mi/ts_file.h"

#include <string>

namespace monitor
{
/// A file of transport packets, timed by its PCRs.
class file_source final : public packet_source
{
public:
    /// False, with the reason in fault(), when the file cannot be opened.
    [[nodiscard]] bool open(const std::string& name) { return m_file.open(name); }
    [[nodiscard]] bool next(timed_packet& packet) override;
    [[nodiscard]] const std::string& fault() const { return m_file.fault(); }

private:
    /// Up to the second PCR, and without any.
    static constexpr std::uint64_t first_bitrate = 10'000'000;

    t2mi::ts_file_reader m_file;
    t2mi::input_clock m_clock{first_bitrate};
    bool m_ended = false;
};
} // namespace monitor
