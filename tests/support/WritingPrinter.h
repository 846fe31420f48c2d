// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/FieldPrinter.h"
#include "zqsdk/ZQBSWriter.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zqtest
{
/// Puts what is printed back into the bytes it stands for, so that a field left out or in the wrong place shows.
class WritingPrinter final : public mpegcore::FieldPrinter
{
public:
    void number(const char*, unsigned width, std::uint64_t value) override
    {
        m_fits = m_writer.putBits(value, static_cast<unsigned char>(width)) && m_fits;
    }
    void data(const char*, const unsigned char* bytes, std::size_t size) override
    {
        for (std::size_t at = 0; at < size; ++at)
            number(nullptr, 8, bytes[at]);
    }
    void code(const char*, const unsigned char* letters, std::size_t size) override { data(nullptr, letters, size); }
    void text(const char*, const unsigned char* bytes, std::size_t size) override { data(nullptr, bytes, size); }
    void time(const char*, std::uint64_t value) override { number(nullptr, 40, value); }
    void duration(const char*, std::uint32_t value) override { number(nullptr, 24, value); }
    void open_list(const char*) override {}
    void close_list() override {}
    void open_record(const char*) override {}
    void close_record() override {}

    /// The bytes so far; none when they did not fit 4098.
    std::vector<unsigned char> bytes()
    {
        m_writer.flush();
        if (!m_fits)
            return {};
        return {m_room.begin(), m_room.begin() + static_cast<std::ptrdiff_t>(m_writer.bytesWritten())};
    }

private:
    std::vector<unsigned char> m_room = std::vector<unsigned char>(4098);
    ZQSDK::ZQBSWriterT<unsigned char*> m_writer{m_room.data(), m_room.size()};
    bool m_fits = true;
};

template <class Structure>
std::vector<unsigned char> bytes_of_printed(const Structure& structure)
{
    WritingPrinter printer;
    structure.print(printer);
    return printer.bytes();
}
} // namespace zqtest
