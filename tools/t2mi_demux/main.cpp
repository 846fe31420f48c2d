// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/program.h"
#include "tools/common/progress_bar.h"
#include "tools/common/stream_input.h"
#include "tools/t2mi_demux/command_line.h"
#include "tools/t2mi_demux/stream_report.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace
{
const tools::program program{"zq-t2mi-demux"};

struct close_file
{
    void operator()(std::FILE* file) const
    {
        if (file != stdout)
            std::fclose(file);
    }
};
using file_handle = std::unique_ptr<std::FILE, close_file>;

/// One stream from its input to the files of its PLPs and what there is to say about it.
class run : private mpegcore::T2MIListener
{
public:
    explicit run(const t2mi_demux::options& options)
        : m_options(options), m_demultiplexer(*this), m_report(m_demultiplexer, m_candidates)
    {
        m_demultiplexer.set_PID(options.PID);
        m_demultiplexer.set_stream_id(options.stream_id);
        m_demultiplexer.set_restore_nulls(!options.drop_nulls);
        m_demultiplexer.set_merge_common_PLPs(options.merge_common);
        if (!options.list) {
            std::bitset<256> plp_ids;
            for (const auto& output : options.outputs)
                plp_ids.set(output.first);
            m_demultiplexer.set_PLPs(plp_ids);
        }
    }

    int to_end()
    {
        if (!m_input.open(m_options.input, m_options.interface))
            return program.fail(m_input.fault());
        if (const std::string fault = open_outputs(); !fault.empty())
            return program.fail(fault);
        m_progress.emplace(m_input.total(), !m_options.quiet && !m_input.is_live());
        const bool read = read_stream();
        m_progress->hide();
        if (const std::string fault = close_outputs(); !fault.empty())
            return program.fail(fault);
        if (!read)
            return program.fail(m_input.fault());
        return tell();
    }

private:
    using clock = std::chrono::steady_clock;
    using result = tools::stream_input::result;
    static constexpr std::chrono::seconds list_time{5};

    std::string open_outputs()
    {
        for (const auto& [plp_id, name] : m_options.outputs) {
            std::error_code error;
            if (std::filesystem::equivalent(m_options.input, name, error))
                return name + ": is the input, too";
            m_outputs[plp_id].reset(name == "-" ? stdout : std::fopen(name.c_str(), "wb"));
            if (m_outputs[plp_id] == nullptr)
                return name + ": " + std::strerror(errno);
        }
        return {};
    }

    /// Up to the end, or until there is no sense in going on. False when the input failed.
    bool read_stream()
    {
        std::uint64_t done = 0;
        const auto begin = clock::now();
        for (auto got = result::nothing; got != result::end && !tools::is_asked_to_end() && !m_output_failed;) {
            got = m_input.next();
            if (got == result::failed)
                return false;
            m_demultiplexer.put(m_input.data(), m_input.size());
            if (m_options.list)
                m_candidates.put(m_input.data(), m_input.size());
            m_progress->show(done += m_input.size());
            if (m_input.is_live() && m_options.outputs.empty() && clock::now() - begin > list_time)
                break;
        }
        m_demultiplexer.finish();
        m_candidates.finish();
        return true;
    }

    std::string close_outputs()
    {
        for (const auto& [plp_id, file] : m_outputs)
            if (std::fflush(file.get()) != 0 || std::ferror(file.get()) != 0)
                return m_options.outputs.at(plp_id) + ": " + std::strerror(errno);
        return {};
    }

    int tell() const
    {
        if (m_demultiplexer.stream_id() == mpegcore::T2MIDemultiplexer::any ||
            m_demultiplexer.gatherer_counters().packets == 0)
            return program.fail(m_options.input + ": no T2-MI found");
        if (m_options.list) {
            const std::string report = m_options.json ? m_report.json() : m_report.text();
            if (std::fputs(report.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
                return program.fail(std::string("standard output: ") + std::strerror(errno));
        }
        if (!m_options.quiet)
            std::fputs(m_report.counters().c_str(), stderr);
        for (const auto& output : m_options.outputs)
            if (m_demultiplexer.PLP_counters(output.first) == nullptr)
                return program.fail(m_options.input + ": has no PLP " + std::to_string(output.first));
        return 0;
    }

    void on_packet(std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool /*is_behind_gap*/) override
    {
        const auto output = m_outputs.find(plp_id);
        if (output != m_outputs.end() &&
            std::fwrite(packet.data, mpegcore::ts_packet_size, 1, output->second.get()) != 1)
            m_output_failed = true;
    }
    void on_timestamp(const mpegcore::DVBT2Timestamp& timestamp) override { m_report.note_timestamp(timestamp); }
    void on_T2MI_packet(const mpegcore::T2MIHeader& header, const unsigned char*, std::size_t) override
    {
        if (header.packet_type == static_cast<std::uint8_t>(mpegcore::T2MIPacketType::L1_current))
            m_report.note_T2_frame();
    }
    void on_warning(Warning warning, unsigned id) override
    {
        m_progress->hide();
        switch (warning) {
        case Warning::scrambled:
            program.fail("PID " + std::to_string(id) + " is scrambled");
            return;
        case Warning::not_a_transport_stream:
            program.fail("PLP " + std::to_string(id) + " carries no transport stream");
            return;
        case Warning::no_T2MI:
            program.fail("no T2-MI in 5 seconds of the stream");
        }
    }

    const t2mi_demux::options& m_options;
    tools::stream_input m_input;
    std::optional<tools::progress_bar> m_progress;
    std::map<std::uint8_t, file_handle> m_outputs;
    bool m_output_failed = false;
    mpegcore::T2MIDemultiplexer m_demultiplexer;
    t2mi_demux::candidate_list m_candidates;
    t2mi_demux::stream_report m_report;
};
} // namespace

int main(int argc, char** argv)
{
    t2mi_demux::options options;
    std::string text;
    const auto asked = t2mi_demux::parse_command_line({argv + 1, argv + argc}, ZQ_VERSION, options, text);
    if (const auto exit_code = program.answer(asked, text))
        return *exit_code;
    tools::take_signals();
    return run(options).to_end();
}
