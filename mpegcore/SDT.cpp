// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/SDT.h"

#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t fixed_length = 12;
constexpr std::uint32_t service_length = 5;
} // namespace

void CServiceDescriptionSection::copyTo(CServiceDescriptionSection* target) const
{
    if (target == nullptr || target == this)
        return;
    target->service_id = service_id;
    target->reserved_future_use = reserved_future_use;
    target->EIT_schedule_flag = EIT_schedule_flag;
    target->EIT_present_following_flag = EIT_present_following_flag;
    target->running_status = running_status;
    target->free_CA_mode = free_CA_mode;
    target->descriptors_loop_length = static_cast<std::uint16_t>(replace_descriptors(descriptors, target->descriptors));
}

template <class Self, class Io>
bool CSDT::syntax(Self& t, Io& io)
{
    return io.bits(16, "transport_stream_id", t.transport_stream_id) && io.bits(2, "reserved", t.reserved) &&
           version_and_sections(t, io) && io.bits(16, "original_network_id", t.original_network_id) &&
           io.bits(8, "reserved_future_use", t.reserved_future_use) &&
           io.keyed_loop(service_length, "services", t.services, &CServiceDescriptionSection::service_id);
}

void CSDT::Clear()
{
    services.clear();
    CBaseMpegTable::Clear();
}

bool CSDT::read(Reader& reader)
{
    return read_section(reader, [this](Reader& section) {
        return read_body(section, CRC_32, [this](TableReader& io) { return syntax(*this, io); });
    });
}

void CSDT::print(FieldPrinter& printer) const
{
    print_section(printer, [this](SyntaxPrinter& io) { return syntax(*this, io) && io.bits(32, "CRC_32", CRC_32); });
}

std::uint32_t CSDT::calc_section_length() const
{
    std::uint32_t length = fixed_length;
    for (const auto& service : services)
        if (service.second)
            length += service_length + service.second->descriptors.getSize();
    return length;
}

bool CSDT::RenderTable()
{
    return render_section(CRC_32, [this](Writer& writer) {
        TableWriter io(writer);
        return syntax(*this, io);
    });
}

void CSDT::copyTo(CSDT* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_header(*target);
    target->transport_stream_id = transport_stream_id;
    target->reserved = reserved;
    copy_version_and_sections(*this, *target);
    target->original_network_id = original_network_id;
    target->reserved_future_use = reserved_future_use;
    copy_entries(services, target->services);
    target->CRC_32 = CRC_32;
    target->section_length = static_cast<std::uint16_t>(target->calc_section_length());
}
} // namespace mpegcore
