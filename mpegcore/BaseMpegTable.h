// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/descriptors/DescriptorPlace.h"
#include "mpegcore/syntax/SyntaxPrinter.h"
#include "zqsdk/ZQBSReader.h"
#include "zqsdk/ZQBSWriter.h"

#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// Base of the PSI and SI tables: one section (ISO/IEC 13818-1, 2.4.4) with its common header and a buffer to render
/// it into.
class CBaseMpegTable
{
public:
    using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;
    using Writer = ZQSDK::ZQBSWriterT<unsigned char*>;

    /// Whether sections of the class end in a CRC_32; a class without one says so.
    static constexpr bool has_CRC_32 = true;

    /// Renders into `size` bytes at `data`, which stay the caller's; with `data` null, into `size` bytes of its own.
    CBaseMpegTable(unsigned char* data, unsigned long size);
    virtual ~CBaseMpegTable();
    CBaseMpegTable(const CBaseMpegTable&) = delete;
    CBaseMpegTable& operator=(const CBaseMpegTable&) = delete;

    /// Zero-fills the buffer and sets `used` to 0. The header fields stay.
    virtual void Clear();
    /// Reads the common header, leaving the reader behind section_length. Always true: what the reader does not hold
    /// is left zero or, the field where it ran out, partly filled; an exhausted reader changes nothing.
    virtual bool read(Reader& reader);
    /// Writes the common header with section_length from calc_section_length(). Always true; writing stops silently
    /// where the writer is full.
    virtual bool write(Writer& writer);
    /// The section_length that the contents need, in bytes.
    virtual std::uint32_t calc_section_length() const = 0;
    /// Hands every field of the section to `printer`, in stream order and by their standard names; lengths and CRC_32
    /// as they are stored. Here the common header.
    virtual void print(FieldPrinter& printer) const;

    /// Appends `len` bytes to the buffer. False, and nothing is copied, without a buffer or when the buffer would
    /// become full: deliberately, its last byte is never filled.
    bool AddData(const unsigned char* data, unsigned long len);

    /// The dictionary that read() takes for the descriptor loops; no field of the section, and not copied.
    /// ZQDescriptorType::Standard reads every loop whole.
    ZQDescriptorType descriptor_dictionary = ZQDescriptorType::TS;

    std::uint8_t table_id = 0;
    std::uint8_t section_syntax_indicator = 0; ///< 1 bit
    std::uint8_t private_indicator = 0;        ///< 1 bit; zero in MPEG PSI, reserved_future_use in DVB SI
    std::uint8_t reserved = 0;                 ///< 2 bits
    std::uint16_t section_length = 0;          ///< 12 bits, bytes behind this field

    unsigned char* buffer;
    std::size_t used = 0; ///< bytes of `buffer` in use: after a good rendering, section_length + 3
    std::size_t capacity; ///< bytes of `buffer`
    int owns_buffer;      ///< 1 when the buffer was allocated here

protected:
    /// table_id, the two flags, reserved and section_length.
    static constexpr std::size_t header_size = 3;
    static constexpr std::size_t crc_size = 4;
    static constexpr std::uint32_t max_section_length = 4095;

    /// Reads one section: the header, then, when the whole section is there and its CRC is good, `body` with a reader
    /// over its section_length bytes (CRC_32 included). `body` returns false to refuse the section. The reader ends
    /// behind the section when it was good, behind its header otherwise.
    template <class Body>
    [[nodiscard]] bool read_section(Reader& reader, Body&& body)
    {
        return read_section(
            reader, [] { return true; }, body);
    }

    /// The same; `header_fits` looks at the header fields first and returns false to refuse them.
    template <class HeaderFits, class Body>
    [[nodiscard]] bool read_section(Reader& reader, HeaderFits&& header_fits, Body&& body)
    {
        const unsigned char* const section = reader.position();
        const std::uint64_t available = reader.availableBytes();
        CBaseMpegTable::read(reader);
        return header_fits() && section_is_good(section, available) && reader.readLimited(section_length, body);
    }

    /// Renders a section that ends in a CRC_32 field: the header, what `body` writes, the CRC, which is stored in
    /// `crc_32` too. False with `used` = 0 when `body` returns false, when section_length does not fit its field or
    /// the section its buffer, and when `body` did not write the bytes that calc_section_length() announced.
    template <class Body>
    [[nodiscard]] bool render_section(std::uint32_t& crc_32, Body&& body)
    {
        return render_bytes(crc_size, body) && append_crc(crc_32);
    }

    /// The same for a section without a CRC.
    template <class Body>
    [[nodiscard]] bool render_section_without_crc(Body&& body)
    {
        return render_bytes(0, body);
    }

    /// The fields of the common header.
    template <class Self, class Io>
    static bool header(Self& t, Io& io)
    {
        return io.bits(8, "table_id", t.table_id) &&
               io.bits(1, "section_syntax_indicator", t.section_syntax_indicator) &&
               io.bits(1, "private_indicator", t.private_indicator) && io.bits(2, "reserved", t.reserved) &&
               io.bits(12, "section_length", t.section_length);
    }

    /// Prints a section: the header, what `body` hands to the SyntaxPrinter that it is given.
    template <class Body>
    void print_section(FieldPrinter& printer, Body&& body) const
    {
        SyntaxPrinter io(printer);
        static_cast<void>(header(*this, io) && body(io));
    }

    /// Copies the header fields, section_length among them.
    void copy_header(CBaseMpegTable& to) const;
    /// True when table_id, both flags and section_length agree; `reserved` is deliberately not compared.
    [[nodiscard]] bool same_header(const CBaseMpegTable& other) const;

private:
    /// `available` bytes stand at `section`, whose header was read last.
    bool section_is_good(const unsigned char* section, std::uint64_t available) const;
    /// True when the section that calc_section_length() announces leaves room for the header and `trailer` bytes and
    /// fits the buffer.
    bool announce(std::size_t trailer);
    bool append_crc(std::uint32_t& crc_32);

    template <class Body>
    bool render_bytes(std::size_t trailer, Body& body)
    {
        used = 0;
        if (!announce(trailer))
            return false;
        const std::size_t expected = header_size + section_length - trailer;
        Writer writer(buffer, capacity);
        CBaseMpegTable::write(writer);
        if (!body(writer))
            return false;
        writer.flush();
        if (writer.bytesWritten() != expected)
            return false;
        used = expected;
        return true;
    }
};
} // namespace mpegcore
