// SPDX-License-Identifier: LGPL-2.1-or-later
// T2-MI by the standards, from transport packets to the packets of all PLPs; T2MIProgram.h says what an input means.
// The stream goes in whole and in pieces, which has to give the same.
#include "fuzz/T2MIProgram.h"
#include "mpegcore/CRC.h"
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{
using mpegcore::T2MIDemultiplexer;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

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

/// Looks at every byte that it gets.
class Checker : public T2MIDemultiplexer::Listener
{
public:
    Checker() { m_merger.follow(L1_of_group()); }

    /// As many packets as went in must have come out of merging.
    void finish()
    {
        m_merger.flush();
        require(m_waiting == 0);
    }

    void on_packet(std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool is_behind_gap) override
    {
        require(packet.data[0] == 0x47 && packet.ISSY_size <= 3 && (packet.ISSY_size == 0) == (packet.ISSY == nullptr));
        require(m_is_there[plp_id]);
        m_waiting += m_merger.is_data(plp_id) ? 1 : 0;
        m_merger.put(plp_id, packet, is_behind_gap);
        require(m_waiting <= 5 * mpegcore::CommonPLPMerger::most_waiting);
        add(plp_id);
        add(is_behind_gap ? 1 : 0);
        add(packet.data, mpegcore::ts_packet_size);
        if (packet.ISSY != nullptr)
            add(packet.ISSY, packet.ISSY_size);
    }
    void on_PLP_appeared(std::uint8_t plp_id) override
    {
        require(!m_is_there[plp_id]);
        m_is_there.set(plp_id);
    }
    void on_PLP_gone(std::uint8_t plp_id) override
    {
        require(m_is_there[plp_id]);
        m_is_there.reset(plp_id);
    }
    void on_L1_changed(const mpegcore::L1Current& L1) override
    {
        require(L1.L1CONF.PLPs.size() == L1.L1CONF.NUM_PLP);
        add(static_cast<unsigned char>(L1.superframe_periods()));
    }
    void on_T2MI_packet(const mpegcore::T2MIHeader& header, const unsigned char* payload, std::size_t size) override
    {
        require(size == (header.payload_len + std::size_t{7}) / 8);
        add(payload, size);
    }

    std::uint32_t sum = 0xFFFFFFFF; ///< of all that came

private:
    void add(unsigned char byte) { add(&byte, 1); }
    void add(const unsigned char* data, std::size_t size) { sum = mpegcore::crc32_mpeg2(data, size, sum); }

    std::bitset<256> m_is_there;
    std::size_t m_waiting = 0; ///< packets of data PLPs in the merger
    mpegcore::CommonPLPMerger m_merger{[this](std::uint8_t plp_id, const mpegcore::UserPacket& packet, bool) {
        require(packet.data[0] == 0x47 && m_waiting-- != 0);
        add(plp_id);
        add(packet.data, mpegcore::ts_packet_size);
    }};
};

std::uint32_t result_of(const std::vector<unsigned char>& stream, std::size_t piece, std::uint8_t settings)
{
    Checker checker;
    T2MIDemultiplexer demultiplexer(checker);
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
    checker.finish();
    return checker.sum;
}
} // namespace

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
