// SPDX-License-Identifier: LGPL-2.1-or-later
// The input is what a splice_info_section has behind section_length; its header and CRC_32 are put around it. What is
// read must render to the same bytes, also from a copy, and print as valid JSON; when it is cut it is refused. Of a
// loop of descriptors a last byte alone is no descriptor and is lost.
#include "mpegcore/CRC.h"
#include "mpegcore/SpliceInfoSection.h"
#include "mpegcore/TablePrinter.h"
#include "support/StrictJson.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

namespace splice_target
{
using Bytes = std::vector<unsigned char>;
using mpegcore::CSpliceInfoSection;

constexpr std::size_t largest_section = 4096;
constexpr std::size_t largest_input = 600;

void require(bool held)
{
    if (!held)
        std::abort();
}

Bytes section_of(const std::uint8_t* data, std::size_t size)
{
    const std::size_t length = size + 4;
    Bytes section{0xFC, static_cast<unsigned char>(0x30 | length >> 8), static_cast<unsigned char>(length)};
    section.insert(section.end(), data, data + size);
    const std::uint32_t crc = mpegcore::crc32_mpeg2(section.data(), section.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        section.push_back(static_cast<unsigned char>(crc >> shift));
    return section;
}

bool read(CSpliceInfoSection& table, const Bytes& section, std::size_t size)
{
    // A block of exactly this size, so that a sanitizer sees one byte too many.
    const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
    std::copy_n(section.data(), size, block.get());
    CSpliceInfoSection::Reader reader(block.get(), size);
    return table.read(reader);
}

void require_to_render(CSpliceInfoSection& table, const Bytes& section, std::size_t lost)
{
    require(table.RenderTable() && table.used == section.size() - lost);
    require(lost != 0 || std::equal(section.begin(), section.end(), table.buffer));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > largest_input)
        return 0;
    const Bytes section = section_of(data, size);
    CSpliceInfoSection table(nullptr, largest_section);
    require(!read(table, section, section.size() - 1) && !read(table, section, section.size() / 2));
    const bool whole = read(table, section, section.size());
    require(zqtest::strict_json(to_json(table)).has_value());
    if (!whole)
        return 0;
    const std::size_t lost = table.descriptor_loop_length - table.descriptors.getSize();
    require(lost <= 1);
    require_to_render(table, section, lost);
    CSpliceInfoSection copy(nullptr, largest_section);
    table.copyTo(&copy);
    require_to_render(copy, section, lost);
    return 0;
}
} // namespace splice_target
