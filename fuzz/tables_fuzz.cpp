// SPDX-License-Identifier: LGPL-2.1-or-later
// The first byte picks a table class, the rest is a section whose length and CRC_32 are put right. What is read must
// render, and what was rendered must read and render to the same bytes again.
#include "fuzz/RepairedSection.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <type_traits>

namespace tables_target
{
using namespace mpegcore;

void require(bool held)
{
    if (!held)
        std::abort();
}

template <class Table>
Table& scratch(unsigned which)
{
    static Table tables[2]{{nullptr, zqfuzz::largest_section}, {nullptr, zqfuzz::largest_section}};
    tables[which].Clear();
    return tables[which];
}

template <class Table>
bool read(Table& table, const unsigned char* data, std::size_t size)
{
    // A block of exactly this size, so that a sanitizer sees one byte too many.
    const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
    std::memcpy(block.get(), data, size);
    typename Table::Reader reader(block.get(), size);
    return table.read(reader);
}

template <class Table>
void read_and_render(const unsigned char* data, std::size_t size)
{
    Table& table = scratch<Table>(0);
    if (!read(table, data, size) || !table.RenderTable())
        return;
    require(table.used == 3 + table.calc_section_length());
    Table& copy = scratch<Table>(1);
    table.copyTo(&copy);
    if constexpr (!std::is_same_v<Table, CBAT> && !std::is_same_v<Table, CEIT>) {
        // A BAT's copy announces other lengths, and an EIT's corrects the stored ones.
        require(copy.RenderTable() && copy.used == table.used);
        require(std::memcmp(copy.buffer, table.buffer, copy.used) == 0);
    }
    Table& again = scratch<Table>(1);
    // Descriptors may refuse what they wrote: one that does not end at its length stays as it is.
    if (!read(again, table.buffer, table.used) || !again.RenderTable())
        return;
    if constexpr (std::is_same_v<Table, CPAT> || std::is_same_v<Table, CTDT>) {
        require(again.used == table.used);
        require(std::memcmp(again.buffer, table.buffer, table.used) == 0);
    }
}

using target = void (*)(const unsigned char*, std::size_t);

template <class... Tables>
struct Targets
{
    static constexpr target all[]{read_and_render<Tables>...};
};
using targets = table_classes<Targets>;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (!zqfuzz::RepairedSection::takes(size))
        return 0;
    const zqfuzz::RepairedSection section(data, size, std::size(targets::all));
    targets::all[section.pick](section.bytes.data(), section.size);
    return 0;
}
} // namespace tables_target
