// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/DescriptorTable.h"

#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t fixed_length = 9;
}

template <class Self, class Io>
bool CDescriptorTable::syntax(Self& t, Io& io)
{
    return io.bits(18, "reserved", t.reserved) && version_and_sections(t, io) &&
           io.descriptors(io.body_left(), "descriptors", t.descriptors);
}

void CDescriptorTable::Clear()
{
    descriptors.clear();
    CBaseMpegTable::Clear();
}

bool CDescriptorTable::read(Reader& reader)
{
    return read_section(reader, [this](Reader& section) {
        set_to_zero(reserved, version_number, current_next_indicator, section_number, last_section_number);
        const bool whole = read_body(section, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
        if (section_length > fixed_length)
            return whole;
        CRC_32 = 0;
        return true;
    });
}

void CDescriptorTable::print(FieldPrinter& printer) const
{
    print_section(printer, [this](SyntaxPrinter& io) { return syntax(*this, io) && io.bits(32, "CRC_32", CRC_32); });
}

std::uint32_t CDescriptorTable::calc_section_length() const { return fixed_length + descriptors.getSize(); }

bool CDescriptorTable::RenderTable()
{
    return render_section(CRC_32, [this](Writer& writer) {
        TableWriter io(writer);
        return syntax(*this, io);
    });
}

void CDescriptorTable::copy_to(CDescriptorTable& target) const
{
    if (&target == this)
        return;
    copy_header(target);
    target.reserved = reserved;
    copy_version_and_sections(*this, target);
    replace_descriptors(descriptors, target.descriptors);
    target.CRC_32 = CRC_32;
    target.section_length = static_cast<std::uint16_t>(calc_section_length());
}
} // namespace mpegcore
