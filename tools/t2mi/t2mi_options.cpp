// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/t2mi_options.h"

namespace t2mi
{
namespace
{
bool is_free_PID(std::uint16_t pid) { return pid >= 0x0020 && pid <= 0x1FFE; }
} // namespace

std::string find_fault(const t2mi_options& options)
{
    if (options.program_number == 0)
        return "the program number must not be 0, which stands for the network PID";
    if (!is_free_PID(options.pmt_PID) || !is_free_PID(options.t2mi_PID))
        return "a PID must lie between 0x0020 and 0x1FFE";
    if (options.pmt_PID == options.t2mi_PID)
        return "the PMT and the T2-MI packets need different PIDs";
    if (options.t2mi_stream_id > 7)
        return "the T2-MI stream id must lie between 0 and 7";
    if (options.data_field_bytes_min < 187 || options.data_field_bytes_max > 8178)
        return "a data field holds 187 to 8178 bytes";
    if (options.ISSY_bytes != 0 && options.ISSY_bytes != 3 && (options.ISSY_bytes != 2 || !options.normal_mode))
        return "ISSY has 3 bytes, or 2 in normal mode";
    if (options.data_field_bytes_min < options.user_packet_bytes())
        return "a data field must hold a whole packet, " + std::to_string(options.user_packet_bytes()) + " bytes";
    if (options.data_field_bytes_min > options.data_field_bytes_max)
        return "the smallest data field is larger than the largest";
    if (options.baseband_frames_per_t2_frame == 0)
        return "a T2 frame needs at least one baseband frame";
    if (options.t2_frames_per_superframe == 0 || options.t2_frames_per_superframe > 256)
        return "a superframe has 1 to 256 T2 frames";
    if (options.auxiliary_bytes > 8188)
        return "an auxiliary packet holds up to 8188 bytes";
    if (options.start_seconds >= (std::uint64_t{1} << 40))
        return "seconds_since_2000 has 40 bits";
    if (options.common_plp < -1 || options.common_plp > 255)
        return "a PLP has an id from 0 to 255";
    if (options.common_plp >= 0 && (!options.L1_signalling || options.ISSY_bytes != 3))
        return "a common PLP needs L1 signalling and ISSY of 3 bytes";
    if (options.bitrate > 10'000'000'000)
        return "the bit rate must not exceed 10 Gbit/s";
    return {};
}
} // namespace t2mi
