// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/TOT.h"

#include "mpegcore/TDT.h"
#include "mpegcore/syntax/SyntaxCopier.h"
#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t fields_size = CTDT::UTC_time_size + 2;
constexpr std::uint32_t TOT_fixed_length = fields_size + 4;
} // namespace

template <class Self, class Io>
bool CTOT::fields(Self& t, Io& io)
{
    return io.time("UTC_time", t.UTC_time) && io.bits(4, "reserved", t.reserved) &&
           io.length(12, "descriptors_loop_length", t.descriptors_loop_length, t.descriptors.getSize());
}

void CTOT::Clear()
{
    descriptors.clear();
    CBaseMpegTable::Clear();
}

bool CTOT::read(Reader& reader)
{
    return read_section(reader, [this](Reader& section) {
        TableReader io(section, descriptor_dictionary);
        if (!fields(*this, io)) {
            if (section_length < CTDT::UTC_time_size)
                UTC_time = 0;
            if (section_length <= CTDT::UTC_time_size)
                reserved = 0;
            set_to_zero(descriptors_loop_length, CRC_32);
            return true;
        }
        if (!io.descriptors(descriptors_loop_length, "descriptors", descriptors))
            return false;
        std::uint32_t crc = 0;
        // Fewer than 4 bytes behind the loop count as running out, too.
        CRC_32 = section.getBits<32>(crc) ? crc & 0xFFFFU : 0;
        return true;
    });
}

void CTOT::print(FieldPrinter& printer) const
{
    print_section(printer, [this](SyntaxPrinter& io) {
        return fields(*this, io) && io.descriptors(0, "descriptors", descriptors) && io.bits(32, "CRC_32", CRC_32);
    });
}

std::uint32_t CTOT::calc_section_length() const { return TOT_fixed_length + descriptors.getSize(); }

bool CTOT::RenderTable()
{
    const bool rendered = render_section(CRC_32, [this](Writer& writer) {
        TableWriter io(writer);
        return fields(*this, io) && io.descriptors(0, "descriptors", descriptors);
    });
    descriptors_loop_length = static_cast<std::uint16_t>(descriptors.getSize());
    return rendered;
}

void CTOT::copyTo(CTOT* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_header(*target);
    copy_walked(*this, *target,
                [](auto& t, auto& io) { return fields(t, io) && io.descriptors(0, "descriptors", t.descriptors); });
    target->CRC_32 = CRC_32;
    target->section_length = static_cast<std::uint16_t>(target->calc_section_length());
}
} // namespace mpegcore
