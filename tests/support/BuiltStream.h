// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/RecordingParser.h"
#include "support/Stream.h"
#include "support/Tables.h"

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zqtest
{
/// A stream, and what a RecordingParser must have recorded behind it: each call that puts something into the stream
/// writes down the callbacks that it must cause, by the parser's rules and without a parser.
class BuiltStream
{
public:
    explicit BuiltStream(unsigned seed) : m_random(seed), m_counts(RecordingParser(true).count) {}

    const Bytes& data() const { return m_stream.data; }
    const std::vector<std::string>& lines() const { return m_lines; }

    RecordingParser::counts counts() const
    {
        auto counts = m_counts;
        counts["consumed"] = static_cast<long>(data().size());
        counts["bytes_skipped_looking_for_sync"] = 0;
        counts["callbacks/OnPreProcess"] = counts["callbacks/OnProcess"] = static_cast<long>(m_stream.packets());
        counts["eit_pkt_skip_lines"] += 0;
        return counts;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    Bytes random_bytes(std::size_t size)
    {
        Bytes bytes(size);
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<unsigned char>(m_random()); });
        return bytes;
    }

    /// A section in packets of its own, which the last of them completes.
    template <class Table>
    void table(unsigned PID, const char* callback, Table& t, const std::string& extra = {})
    {
        m_stream.section(PID, rendered(t));
        reported(PID, callback, t, extra);
    }

    /// The same in packets whose payloads adaptation fields make shorter.
    template <class Table>
    void table_in_short_payloads(unsigned PID, const char* callback, Table& t, const std::string& extra = {})
    {
        const Bytes unit = Bytes{0} + rendered(t);
        // 3 bytes at least, below which a packet on the PID of the EIT makes the parser print.
        for (std::size_t at = 0, size = 0; at < unit.size(); at += size) {
            size = std::min<std::size_t>(3 + below(182), unit.size() - at);
            m_stream.packet(PID, at == 0 ? Stream::begins : Stream::goes_on, unit.data() + at, size);
        }
        reported(PID, callback, t, extra);
    }

    /// Sections back to back in one payload unit: the first is reported with the packet that completes it and with each
    /// further one, those behind it never.
    template <class Table>
    void back_to_back(unsigned PID, const char* callback, Table& first, const Bytes& behind)
    {
        const Bytes section = rendered(first);
        const Bytes unit = Bytes{0} + section + behind;
        for (std::size_t at = 0; at < unit.size(); at += mpegcore::ts_payload_size) {
            const auto end = std::min<std::size_t>(at + mpegcore::ts_payload_size, unit.size());
            m_stream.packet(PID, at == 0 ? Stream::begins : Stream::goes_on, unit.data() + at, end - at);
            if (end > section.size())
                reported(PID, callback, first);
        }
    }

    /// A unit whose section begins behind the end of another: nothing of it is reported.
    void section_behind_pointer_field(unsigned PID, const Bytes& end_of_another, const Bytes& section)
    {
        m_stream.unit(PID, Bytes{static_cast<unsigned char>(end_of_another.size())} + end_of_another + section);
    }

    /// A packet on the PID of the EIT before any unit start there.
    void EIT_packet_of_no_unit()
    {
        m_stream.packet(0x0012, Stream::goes_on, random_bytes(mpegcore::ts_payload_size));
        ++m_counts["eit_pkt_skip_lines"];
        m_lines.push_back(std::to_string(m_stream.packets() - 1) + " \"mpegcore: eit pkt skip\"");
    }

    /// A section of which no callback tells.
    void unreported(unsigned PID, const Bytes& section) { m_stream.section(PID, section); }

    void null(unsigned packets = 1)
    {
        for (; packets != 0; --packets) {
            m_stream.null();
            ++m_counts["callbacks/OnNULL"];
        }
    }

    /// A packet on a PID without a meaning: unused before the first PAT, and onOtherPid behind it.
    void other(unsigned PID, bool PAT_is_known, Stream::start start = Stream::goes_on)
    {
        m_stream.packet(PID, start, random_bytes(mpegcore::ts_payload_size));
        if (PAT_is_known)
            of_PID("onOtherPid", PID);
    }

    /// A packet of conditional access; `callback` is OnECM or OnEMM.
    void access(unsigned PID, const char* callback)
    {
        m_stream.packet(PID, Stream::begins, random_bytes(mpegcore::ts_payload_size));
        of_PID(callback, PID);
        of_PID("onOtherPid", PID);
    }

    /// A payload unit of an elementary stream that one PMT lists. The unit before it is complete with its first packet.
    void elementary(unsigned PID, const Bytes& unit, bool scrambled = false)
    {
        const std::size_t first = m_stream.data.size();
        m_stream.unit(PID, unit);
        const std::string path = of_stream(PID);
        if (const auto before = m_unit_sizes.find(PID); before != m_unit_sizes.end()) {
            ++m_counts["callbacks/OnPES(pmt_pid,es,data,size)"];
            ++m_counts[path + "units"];
            m_counts[path + "unit_bytes"] += static_cast<long>(before->second);
        }
        m_unit_sizes[PID] = unit.size();
        m_bytes_since_PCR[PID] += unit.size();
        for (std::size_t at = first; at < m_stream.data.size(); at += mpegcore::ts_packet_size) {
            if (scrambled)
                m_stream.data[at + 3] |= 0x80;
            ++m_counts["callbacks/OnPES(pmt_pid,es,packet)"];
            ++m_counts["callbacks/OnPES(pmt_pid,program_number,es,packet)"];
            ++m_counts[path + "packets"];
            of_PID("onOtherPid", PID);
        }
    }

    void elementary(unsigned PID, std::size_t size, bool scrambled = false)
    {
        elementary(PID, random_bytes(size), scrambled);
    }

    /// A packet with a PCR on the PCR_PID of a program of which no stream has that PID; `seconds` went by since the
    /// PCR before. Its payload is 176 bytes long.
    void PCR_of_its_own(unsigned PID, unsigned seconds, const std::vector<unsigned>& streams)
    {
        m_PCR_base += 90000ULL * seconds;
        m_stream.PCR(PID, m_PCR_base, 0);
        of_PID("OnPCR", PID);
        ++m_counts["callbacks/OnPES(pmt_pid,es,packet)"];
        ++m_counts[of_stream(PID) + "null_es"];
        of_PID("onOtherPid", PID);
        for (const unsigned stream : streams) {
            m_counts[formatted("bitrate_at_end/0x%04x", stream)] =
                static_cast<long>(8 * m_bytes_since_PCR[stream] / seconds);
            m_bytes_since_PCR[stream] = 0;
        }
    }

    /// Marks the last packet as faulty, which changes nothing.
    void set_transport_error_indicator() { m_stream.data[m_stream.data.size() - mpegcore::ts_packet_size + 1] |= 0x80; }

private:
    void of_PID(const char* callback, unsigned PID)
    {
        ++m_counts[std::string("callbacks/") + callback];
        ++m_counts[std::string(callback) + formatted("_per_pid/0x%04x", PID)];
    }

    std::string of_stream(unsigned PID)
    {
        const std::string path = formatted("OnPES_per_pid/0x%04x/", PID);
        for (const char* name : {"units", "unit_bytes", "packets", "null_es"})
            m_counts[path + name] += 0;
        return path;
    }

    /// With the last packet of the stream.
    template <class Table>
    void reported(unsigned PID, const std::string& callback, Table& t, const std::string& extra = {})
    {
        if constexpr (std::is_base_of_v<mpegcore::CTOT, Table>)
            t.CRC_32 &= 0xFFFFU; // what the parser keeps of it
        ++m_counts["callbacks/" + callback];
        ++m_counts["callbacks_by_table_id/" + callback + formatted("/0x%02x", t.table_id)];
        m_lines.push_back(std::to_string(m_stream.packets() - 1) + " " + callback + formatted(" pid=0x%04x ", PID) +
                          extra + fields_text(t));
    }

    std::mt19937 m_random;
    Stream m_stream;
    RecordingParser::counts m_counts;
    std::vector<std::string> m_lines;
    std::map<unsigned, std::size_t> m_unit_sizes;
    std::map<unsigned, std::uint64_t> m_bytes_since_PCR;
    std::uint64_t m_PCR_base = 0;
};
} // namespace zqtest
