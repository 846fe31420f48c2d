// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/note_keeper.h"

#include "mpegcore/text/Meanings.h"

#include <string>
#include <utility>

namespace monitor
{
namespace
{
template <class Note>
void keep(std::deque<Note>& notes, Note note)
{
    notes.push_back(std::move(note));
    if (notes.size() > snapshot::most_notes)
        notes.pop_front();
}

std::string command_text(const mpegcore::CSpliceInfoSection& section)
{
    if (!section.is_readable())
        return "encrypted";
    std::string text(mpegcore::meaning_of("splice_command_type", section.splice_command_type));
    if (text.empty())
        text = "splice_command_type " + std::to_string(section.splice_command_type);
    if (section.splice_command_type == mpegcore::CSpliceInfoSection::splice_insert) {
        text += ", event " + std::to_string(section.insert.splice_event_id);
        if (section.insert.splice_event_cancel_indicator != 0)
            text += " cancelled";
        else
            text += section.insert.out_of_network_indicator != 0 ? " out" : " in";
    }
    return text;
}
} // namespace

std::string table_title(const mpegcore::TableIdentity& table)
{
    constexpr std::uint8_t PMT = 0x02;
    std::string title(mpegcore::meaning_of("table_id", table.table_id));
    if (title.empty())
        title = "table_id " + std::to_string(table.table_id);
    if (table.table_id == PMT)
        title += " of program " + std::to_string(table.table_id_extension);
    return title;
}

void note_keeper::on_table(const mpegcore::TableChange& change)
{
    if (change.news != mpegcore::TableNews::changed)
        return;
    const auto version = [](unsigned number) { return std::to_string(number); };
    keep(m_changes, {++m_serial, change.time + m_offset,
                     table_title(change.table.identity) + " changed from version " + version(change.version_before) +
                         " to " + version(change.table.version_number)});
}

void note_keeper::on_splice(const mpegcore::SpliceNews& news)
{
    if (news.section.is_readable() && news.section.splice_command_type == mpegcore::CSpliceInfoSection::splice_null)
        return;
    keep(m_splices, {++m_serial, news.time + m_offset, news.PID, news.program_number, command_text(news.section),
                     news.pts_time, news.ahead});
}
} // namespace monitor
