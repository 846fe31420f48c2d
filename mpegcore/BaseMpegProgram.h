// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>

namespace mpegcore
{
/// One entry of a program association section (ISO/IEC 13818-1, 2.4.4.3).
class CBaseMpegProgram
{
public:
    CBaseMpegProgram() = default;
    virtual ~CBaseMpegProgram() = default;
    CBaseMpegProgram(const CBaseMpegProgram&) = default;
    CBaseMpegProgram& operator=(const CBaseMpegProgram&) = default;

    /// Copies the three fields, not `valid`.
    void copyTo(CBaseMpegProgram* target) const
    {
        if (target == nullptr)
            return;
        target->program_number = program_number;
        target->reserved = reserved;
        target->PID = PID;
    }

    int IsValid() const { return valid; }
    void SetValid(int value) { valid = value; }

    template <class Self, class Io>
    static bool syntax(Self& p, Io& io)
    {
        return io.bits(16, "program_number", p.program_number) && io.bits(3, "reserved", p.reserved) &&
               io.bits(13, "PID", p.PID);
    }

    std::uint16_t program_number = 0;
    std::uint8_t reserved = 0;
    std::uint16_t PID = 0; ///< network_PID when program_number is 0, else program_map_PID
    int valid = 1;         ///< the caller's own mark; 1 again with the next PAT
};
} // namespace mpegcore
