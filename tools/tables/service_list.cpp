// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/service_list.h"

#include "mpegcore/PrivateSection.h"
#include "mpegcore/print/JsonPrinter.h"
#include "mpegcore/text/Meanings.h"
#include "mpegcore/text/StreamName.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace tables
{
namespace
{
constexpr std::uint8_t PAT_table_id = 0x00;
constexpr std::uint8_t PMT_table_id = 0x02;
constexpr std::uint8_t SDT_actual_table_id = 0x42;

std::string hex(unsigned number)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%04X", number);
    return text.data();
}

std::string rate_text(std::optional<double> rate)
{
    if (!rate)
        return {};
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), ", %.3f Mbit/s", *rate / 1e6);
    return text.data();
}

void print_rate(mpegcore::FieldPrinter& printer, std::optional<double> rate)
{
    if (rate)
        printer.number("bitrate", 64, static_cast<std::uint64_t>(*rate));
}

void print_plain(mpegcore::FieldPrinter& printer, const char* name, const std::string& text)
{
    printer.code(name, reinterpret_cast<const unsigned char*>(text.data()), text.size());
}
} // namespace

void service_list::put(const heard_section& section)
{
    const mpegcore::SectionHeader header(section.data, section.size);
    const std::uint8_t table_id = header.table_id();
    if (!header.has_extension() || !header.current_next_indicator() ||
        (table_id != PAT_table_id && table_id != PMT_table_id && table_id != SDT_actual_table_id))
        return;
    if (table_id == PAT_table_id)
        return put_PAT(section);
    const auto table = mpegcore::table_of_section(section.data, section.size);
    if (const auto* const pmt = dynamic_cast<const mpegcore::CPMT*>(table.get()))
        put_PMT(*pmt);
    else if (const auto* const sdt = dynamic_cast<const mpegcore::CSDT*>(table.get()))
        put_SDT(*sdt);
}

void service_list::put_PAT(const heard_section& section)
{
    const int version = mpegcore::SectionHeader(section.data, section.size).version_number();
    if (version != m_PAT_version)
        for (auto& [service_id, one] : m_services)
            one.PMT_PID.reset();
    m_PAT_version = version;
    // Not from the class, which keeps one program a PID.
    for_each_program(section.data, section.size,
                     [this](std::uint16_t program, std::uint16_t PID) { m_services[program].PMT_PID = PID; });
}

void service_list::put_PMT(const mpegcore::CPMT& pmt)
{
    auto& one = m_services[pmt.program_number];
    one.has_PMT = true;
    one.PCR_PID = pmt.PCR_PID;
    one.streams.clear();
    for (const auto& [PID, entry] : pmt.streams)
        if (entry)
            one.streams.push_back(
                {entry->stream_type, PID, mpegcore::stream_name(*entry), mpegcore::stream_language(*entry)});
}

void service_list::put_SDT(const mpegcore::CSDT& sdt)
{
    for (const auto& [service_id, entry] : sdt.services) {
        if (!entry)
            continue;
        auto& one = m_services[service_id];
        one.is_described = true;
        one.running_status = entry->running_status;
        one.free_CA_mode = entry->free_CA_mode;
        if (const auto found = entry->descriptors.find<mpegcore::service_descriptor>()) {
            const auto bytes = [](const auto& storage, std::size_t size) {
                return std::vector<unsigned char>(storage.begin(), storage.begin() + static_cast<std::ptrdiff_t>(size));
            };
            one.service_type = found->service_type;
            one.service_name = bytes(found->service_name, found->service_name_length);
            one.service_provider_name = bytes(found->service_provider_name, found->service_provider_name_length);
        }
    }
}

std::optional<double> service_list::bitrate(const service_entry& one, const rate_meter& rates)
{
    if (!rates.bitrate())
        return std::nullopt;
    std::set<std::uint16_t> PIDs;
    if (one.PMT_PID)
        PIDs.insert(*one.PMT_PID);
    if (one.has_PMT && one.PCR_PID != mpegcore::null_packet_PID)
        PIDs.insert(one.PCR_PID);
    for (const auto& stream : one.streams)
        PIDs.insert(stream.elementary_PID);
    double sum = 0;
    for (const auto PID : PIDs)
        sum += rates.bitrate(PID).value_or(0);
    return sum;
}

std::string service_list::title(std::uint16_t service_id, const service_entry& one, const rate_meter& rates,
                                const mpegcore::PrintOptions& options)
{
    std::string text = hex(service_id);
    if (!one.service_name.empty())
        text += " \"" + mpegcore::to_utf8(one.service_name, options.unmarked) + '"';
    if (!one.service_provider_name.empty())
        text += " (" + mpegcore::to_utf8(one.service_provider_name, options.unmarked) + ')';
    if (const auto name = mpegcore::meaning_of("service_type", one.service_type); !name.empty())
        text.append(", ").append(name);
    if (one.free_CA_mode != 0)
        text += ", scrambled";
    if (one.PMT_PID)
        text += ", PMT on PID " + hex(*one.PMT_PID);
    else
        text += ", not in the PAT";
    if (one.has_PMT && one.PCR_PID != mpegcore::null_packet_PID)
        text += ", PCR on PID " + hex(one.PCR_PID);
    text += rate_text(bitrate(one, rates));
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::vector<std::string> service_list::readable(const rate_meter& rates, const mpegcore::PrintOptions& options) const
{
    std::vector<std::string> lines;
    for (const auto& [service_id, one] : m_services) {
        lines.push_back(title(service_id, one, rates, options));
        for (const auto& stream : one.streams)
            lines.push_back("  PID " + hex(stream.elementary_PID) + ": " +
                            (stream.name.empty() ? "stream_type " + hex(stream.stream_type) : stream.name) +
                            (stream.language.empty() ? "" : ", " + stream.language) +
                            rate_text(rates.bitrate(stream.elementary_PID)));
    }
    return lines;
}

std::string service_list::json_line(std::uint16_t service_id, const service_entry& one, const rate_meter& rates,
                                    const mpegcore::PrintOptions& options)
{
    std::string line;
    mpegcore::JsonPrinter printer(line, options);
    printer.open_record(nullptr);
    printer.number("service_id", 16, service_id);
    if (one.is_described) {
        printer.text("service_name", one.service_name.data(), one.service_name.size());
        printer.text("service_provider_name", one.service_provider_name.data(), one.service_provider_name.size());
        printer.number("service_type", 8, one.service_type);
        printer.number("running_status", 3, one.running_status);
        printer.number("free_CA_mode", 1, one.free_CA_mode);
    }
    if (one.PMT_PID)
        printer.number("program_map_PID", 13, *one.PMT_PID);
    if (one.has_PMT)
        printer.number("PCR_PID", 13, one.PCR_PID);
    print_rate(printer, bitrate(one, rates));
    printer.open_list("streams");
    for (const auto& stream : one.streams) {
        printer.open_record(nullptr);
        printer.number("elementary_PID", 13, stream.elementary_PID);
        printer.number("stream_type", 8, stream.stream_type);
        print_plain(printer, "content", stream.name);
        print_plain(printer, "language", stream.language);
        print_rate(printer, rates.bitrate(stream.elementary_PID));
        printer.close_record();
    }
    printer.close_list();
    printer.close_record();
    return line;
}

std::vector<std::string> service_list::json_lines(const rate_meter& rates, const mpegcore::PrintOptions& options) const
{
    std::vector<std::string> lines;
    for (const auto& [service_id, one] : m_services)
        lines.push_back(json_line(service_id, one, rates, options));
    return lines;
}
} // namespace tables
