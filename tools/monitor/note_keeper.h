// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/MonitorListener.h"
#include "tools/monitor/snapshot.h"

#include <cstdint>
#include <deque>

namespace monitor
{
/// Keeps the last splice commands and changes of tables of a stream.
class note_keeper final : public mpegcore::MonitorListener
{
public:
    void on_table(const mpegcore::TableChange& change) override;
    void on_splice(const mpegcore::SpliceNews& news) override;

    /// What has to be added to the clock of the stream's monitor to get nanoseconds since 1970.
    void set_offset(std::uint64_t offset) { m_offset = offset; }
    [[nodiscard]] const std::deque<splice_note>& splices() const { return m_splices; }
    [[nodiscard]] const std::deque<table_note>& changes() const { return m_changes; }

private:
    std::uint64_t m_offset = 0;
    std::uint64_t m_serial = 0;
    std::deque<splice_note> m_splices;
    std::deque<table_note> m_changes;
};

/// "PMT of program 1", "NIT actual", ... of a table.
[[nodiscard]] std::string table_title(const mpegcore::TableIdentity& table);
} // namespace monitor
