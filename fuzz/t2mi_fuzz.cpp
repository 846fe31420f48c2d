// SPDX-License-Identifier: LGPL-2.1-or-later
// The whole road from transport packets to the packets of a PLP. T2MIProgram.h says what an input means.
#include "fuzz/T2MIProgram.h"
#include "mpegcore/T2MIToTS.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace t2mi_target
{
using namespace t2mi_fuzz;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

class checking_decapsulator : public mpegcore::CT2MIToTS
{
public:
    checking_decapsulator() : CT2MIToTS(true) {}

    void OnTS(unsigned char plp_id, unsigned char* data, unsigned long size) override
    {
        require(plp_id == plp && size == 187);
        touch(data, size);
    }
    void OnBBFrame(mpegcore::T2MIBBFrame* frame) override { require(frame->plp_id == plp); }
    void OnTimeStamp(mpegcore::T2MITimeStamp* time) override
    {
        require(time->rfu < 16 && time->bw < 16 && time->seconds_since_2000 >> 40 == 0 && time->subseconds >> 27 == 0 &&
                time->utco >> 13 == 0);
    }
    void OnAuxiliaryStream(mpegcore::T2MIAuxiliaryStream* auxiliary) override
    {
        require(auxiliary->payload_size >= auxiliary->aux_data_size);
        touch(auxiliary->payload, auxiliary->payload_size);
        touch(auxiliary->aux_data, auxiliary->aux_data_size);
    }

    std::uint8_t plp = selected_PLP;

private:
    static void touch(unsigned char* data, unsigned long size)
    {
        static unsigned char sink[65536];
        require(size <= sizeof sink);
        std::memcpy(sink, data, size);
    }
};

void feed(checking_decapsulator& decapsulator, const std::vector<unsigned char>& stream, std::size_t piece)
{
    if (stream.empty())
        return;
    // A block of exactly this size, so that a sanitizer sees one byte too many.
    const std::unique_ptr<unsigned char[]> block(new unsigned char[stream.size()]);
    std::copy(stream.begin(), stream.end(), block.get());
    std::size_t at = 0;
    for (unsigned pieces = 0; pieces < 40 && at < stream.size(); ++pieces, at += piece)
        decapsulator.Process(block.get() + at, std::min(piece, stream.size() - at));
    if (at < stream.size())
        decapsulator.Process(block.get() + at, stream.size() - at);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Built once: a parser has the states of 8192 PIDs. What an input leaves behind is taken back.
    static checking_decapsulator& decapsulator = *new checking_decapsulator;
    static stream_program& program = *new stream_program;
    static bool PMT_is_known = false;
    if (size == 0)
        return 0;
    // Zeros end a packet that was begun.
    program.stream.assign(program.moves_sync ? 2 * mpegcore::ts_packet_size : 0, 0);
    if (!PMT_is_known)
        program.append_tables();
    feed(decapsulator, program.stream, largest_stream);
    decapsulator.Clear();
    const std::size_t piece = program.build({data + 1, size - 1});
    PMT_is_known = !program.changes_PMT;
    decapsulator.plp = (data[0] & 1) != 0 ? 255 : selected_PLP;
    decapsulator.SetPLPID(decapsulator.plp);
    feed(decapsulator, program.stream, piece);
    return 0;
}
} // namespace t2mi_target
