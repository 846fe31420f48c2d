// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/PacketFinder.h"
#include "tools/common/line_output.h"
#include "tools/common/program.h"
#include "tools/common/progress_bar.h"
#include "tools/common/stream_input.h"
#include "tools/tables/change_filter.h"
#include "tools/tables/command_line.h"
#include "tools/tables/local_time.h"
#include "tools/tables/section_line.h"
#include "tools/tables/service_list.h"
#include "tools/tables/table_view.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include <unistd.h>

namespace
{
const tools::program program{"zq-tables"};

/// One stream from its input to the lines about it.
class run
{
public:
    explicit run(const tables::options& options)
        : m_options(options), m_listener([this](const tables::heard_section& section) { take(section); })
    {
        for (const auto PID : options.filter.PIDs)
            m_listener.listen(PID);
        if (!options.sections)
            m_listener.follow_PMTs();
    }

    int to_end()
    {
        if (!m_input.open(m_options.input, m_options.interface))
            return program.fail(m_input.fault());
        m_output.emplace(STDOUT_FILENO, m_input.is_live() || m_at_terminal);
        m_progress.emplace(m_input.total(), !m_options.quiet && !m_input.is_live());
        const bool read = read_stream();
        m_progress->hide();
        if (m_options.services)
            put_services();
        m_output->flush();
        if (m_output->is_broken_pipe())
            return 0;
        if (!m_output->is_good())
            return program.fail(std::string("standard output: ") + std::strerror(m_output->error()));
        if (!read)
            return program.fail(m_input.fault());
        if (m_listener.packets() == 0 && !tools::is_asked_to_end())
            return program.fail(m_options.input + ": no transport packets found");
        return 0;
    }

private:
    using result = tools::stream_input::result;

    /// Up to the end, or until nobody wants it any more. False when the input failed.
    [[nodiscard]] bool read_stream()
    {
        mpegcore::PacketFinder finder;
        const auto take_packet = [this](const unsigned char* packet) {
            if (m_options.services)
                m_rates.put(packet);
            m_listener.put(packet);
        };
        std::uint64_t done = 0;
        m_last_news = clock::now();
        for (auto got = result::nothing; !has_enough() && got != result::end;) {
            got = m_input.next();
            if (got == result::failed)
                return false;
            finder.put(m_input.data(), m_input.size(), take_packet);
            m_progress->show(done += m_input.size());
        }
        finder.finish(take_packet);
        return true;
    }

    [[nodiscard]] bool has_enough() const
    {
        if (tools::is_asked_to_end() || !m_output->is_good())
            return true;
        const auto waited = clock::now() - m_last_news;
        return m_input.is_live() &&
               ((m_options.once && waited > longest_repetition) || (m_options.services && waited > services_time));
    }

    void take(const tables::heard_section& section)
    {
        tables::follow_local_time(section, m_print.local_time);
        if (!m_options.filter.wants(section.PID, section.data[0]))
            return;
        if (m_options.services)
            return m_services.put(section);
        if (m_options.sections)
            return put(tables::section_line(section));
        const auto news = m_options.all ? tables::change_filter::news::first : m_changes.put(section);
        const bool is_wanted =
            m_options.once ? news == tables::change_filter::news::first : news != tables::change_filter::news::repeated;
        if (!is_wanted)
            return;
        m_last_news = clock::now();
        put(m_options.json ? tables::json_line(section, m_print) : tables::readable(section, m_print, m_highlights));
    }

    void put_services()
    {
        for (const auto& line :
             m_options.json ? m_services.json_lines(m_rates, m_print) : m_services.readable(m_rates, m_print))
            put(line);
    }

    void put(const std::string& line)
    {
        if (m_at_terminal)
            m_progress->hide();
        m_output->put(line);
    }

    using clock = std::chrono::steady_clock;
    // ETSI TS 101 211, 4.4: all but schedules, times and other networks come within 10 s; what makes a service, in 2 s.
    static constexpr std::chrono::seconds longest_repetition{10};
    static constexpr std::chrono::seconds services_time{5};

    const tables::options& m_options;
    const bool m_at_terminal = isatty(STDOUT_FILENO) != 0;
    tools::stream_input m_input;
    std::optional<tools::line_output> m_output;
    std::optional<tools::progress_bar> m_progress;
    mpegcore::PrintOptions m_print = m_options.print;
    const bool m_highlights = m_at_terminal && std::getenv("NO_COLOR") == nullptr;
    tables::change_filter m_changes;
    tables::service_list m_services;
    tables::rate_meter m_rates;
    clock::time_point m_last_news;
    tables::section_listener m_listener;
};
} // namespace

int main(int argc, char** argv)
{
    tables::options options;
    std::string text;
    const auto asked = tables::parse_command_line({argv + 1, argv + argc}, ZQ_VERSION, options, text);
    if (const auto exit_code = program.answer(asked, text))
        return *exit_code;
    tools::take_signals();
    return run(options).to_end();
}
