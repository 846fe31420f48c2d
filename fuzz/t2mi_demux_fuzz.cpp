// SPDX-License-Identifier: LGPL-2.1-or-later
// T2-MI by the standards, from transport packets to the packets of all PLPs; T2MIProgram.h says what an input means.
// The stream goes in whole and in pieces, which has to give the same.
#include "fuzz/CheckedListener.h"
#include "fuzz/T2MIProgram.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace t2mi_demux_target
{
using mpegcore::T2MIDemultiplexer;
using t2mi_fuzz::require;

/// PLP 0 is the common one of a group with those that inputs have.
mpegcore::L1Current L1_of_group()
{
    mpegcore::L1Current L1;
    for (const std::uint8_t plp_id : {0, 1, 2, 3, 255}) {
        mpegcore::L1PostConfigurable::PLP plp;
        plp.PLP_ID = plp_id;
        plp.PLP_TYPE = plp_id == 0 ? 0 : 1;
        L1.L1CONF.PLPs.push_back(plp);
    }
    return L1;
}

/// Merges the packets, too; what comes out of merging counts like what went in.
class Merging : public t2mi_fuzz::CheckedListener
{
public:
    Merging() { m_merger.follow(L1_of_group()); }

    /// As many packets as went in must have come out of merging.
    void finish()
    {
        m_merger.flush();
        require(m_waiting == 0);
    }

    void on_packet(std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool is_behind_gap) override
    {
        CheckedListener::on_packet(plp_id, packet, is_behind_gap);
        m_waiting += m_merger.is_data(plp_id) ? 1 : 0;
        m_merger.put(plp_id, packet, is_behind_gap);
        require(m_waiting <= 5 * mpegcore::CommonPLPMerger::most_waiting);
    }

private:
    std::size_t m_waiting = 0; ///< packets of data PLPs in the merger
    mpegcore::CommonPLPMerger m_merger{[this](std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool) {
        require(packet.data[0] == mpegcore::ts_sync_byte && m_waiting-- != 0);
        add(plp_id);
        add(packet.data, mpegcore::ts_packet_size);
    }};
};

std::uint32_t result_of(const std::vector<unsigned char>& stream, std::size_t piece, std::uint8_t settings)
{
    Merging listener;
    T2MIDemultiplexer demultiplexer(listener);
    if ((settings & 2) != 0)
        demultiplexer.set_PID(t2mi::t2mi_options{}.t2mi_PID);
    if ((settings & 4) != 0)
        demultiplexer.set_stream_id(settings >> 5);
    demultiplexer.set_restore_nulls((settings & 8) != 0);
    demultiplexer.set_merge_common_PLPs((settings & 16) != 0);
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        const std::size_t size = std::min(piece, stream.size() - at);
        // A block of exactly this size, so that a sanitizer sees one byte too many.
        const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
        std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(at), size, block.get());
        demultiplexer.put(block.get(), size);
    }
    demultiplexer.finish();
    listener.finish();
    return listener.sum();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static auto& program = *new t2mi_fuzz::stream_program;
    if (size == 0)
        return 0;
    program.build({data + 1, size - 1});
    std::vector<unsigned char> stream = program.stream;
    if ((data[0] & 1) != 0) {
        program.stream.clear();
        program.append_tables();
        stream.insert(stream.begin(), program.stream.begin(), program.stream.end());
    }
    const auto whole = result_of(stream, stream.size() + 1, data[0]);
    require(result_of(stream, 1 + size % 600, data[0]) == whole);
    return 0;
}
} // namespace t2mi_demux_target
