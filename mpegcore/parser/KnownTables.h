// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/PacketWrapper.h"
#include "mpegcore/descriptors/DescriptorPlace.h"
#include "mpegcore/parser/BlockPool.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace mpegcore
{
/// What became of a section that was to be read.
enum class SectionReading
{
    failed,   ///< the current table stays
    repeated, ///< the current table was read from the same bytes
    fresh,    ///< the current table is another now
};

/// Puts right what the caller of a table may have changed in it by RenderTable, AddData and SetValid.
template <class T>
class TableAsRead
{
public:
    void note(const T& table)
    {
        m_section_length = table.section_length;
        m_CRC_32 = table.CRC_32;
    }

    void restore(T& table) const
    {
        if (table.used != 0)
            table.CBaseMpegTable::Clear();
        table.section_length = m_section_length;
        table.CRC_32 = m_CRC_32;
        if constexpr (std::is_same_v<T, CPAT>) {
            for (auto& program : table.programs)
                program.second.SetValid(1);
        }
    }

private:
    std::uint16_t m_section_length = 0;
    std::uint32_t m_CRC_32 = 0;
};

/// Reads sections for a CPacketWrapper and keeps the tables of those that come again, so that the sections of a
/// carousel are read when they change and otherwise only compared. What the budget has no room for is read each time.
///
/// The wrapper's `current` is on loan from here while its section is known; it goes back when another takes its place.
template <class T>
class KnownTables
{
    struct known
    {
        bool was_read_from(const unsigned char* bytes, std::size_t size) const
        {
            return section.size() == size && std::memcmp(section.data(), bytes, size) == 0;
        }

        std::uint32_t CRC_32 = 0;           ///< of the section that came last
        unsigned repetitions = 0;           ///< of that one
        std::vector<unsigned char> section; ///< empty until it is worth keeping
        std::size_t cost = 0;               ///< of keeping it
        TableAsRead<T> as_read;
        std::unique_ptr<T> table; ///< of `section`; null: it is the wrapper's current one
    };

public:
    /// The wrapper must outlive it. `most_bytes` are all that is kept, tables and sections, by a generous estimate: an
    /// empty descriptor of 2 bytes can become an object of 400.
    KnownTables(CPacketWrapper<T>& wrapper, std::size_t most_bytes) : m_wrapper(wrapper), m_most_bytes(most_bytes) {}
    KnownTables(const KnownTables&) = delete;
    KnownTables& operator=(const KnownTables&) = delete;

    /// Keeping costs about as much as reading, so it has to pay for itself also where contents change often.
    static constexpr unsigned usual_repetitions = 4;

    /// Where a section is kept, or would be.
    class Place
    {
    public:
        bool is_same = false; ///< a table that was read from the same bytes is kept

    private:
        friend class KnownTables;
        std::uint64_t key = 0;
        known* found = nullptr;
    };

    /// Of a whole section of `size` bytes; it holds until the next call of another function than this.
    Place find(const unsigned char* section, std::size_t size)
    {
        if (m_current != nullptr && m_wrapper.m_exchanges != m_exchanges) // read past us, the table on loan is cleared
            forget();
        Place place;
        if (m_current != nullptr && m_current->was_read_from(section, size)) {
            place.is_same = true;
            place.found = m_current;
            return place;
        }
        place.key = key_of(section, size);
        if (const auto found = m_known.find(place.key); found != m_known.end()) {
            place.found = &found->second;
            place.is_same = place.found->was_read_from(section, size);
        }
        return place;
    }

    /// What CPacketWrapper::Parser does, for a whole section of `size` bytes.
    SectionReading read(unsigned char* section, std::size_t size) { return read(section, size, find(section, size)); }

    /// The same behind find(), which gave `place`.
    SectionReading read(unsigned char* section, std::size_t size, const Place& place)
    {
        if (m_current != nullptr && m_wrapper.m_exchanges != m_exchanges) // since
            return read(section, size);
        if (place.is_same && place.found == m_current) {
            m_current->as_read.restore(*m_wrapper.current);
            m_wrapper.valid = 1;
            return SectionReading::repeated;
        }
        if (place.is_same) {
            make_current(*place.found);
            return SectionReading::fresh;
        }
        ZQSDK::ZQBSReaderT<unsigned char*> reader(section, size);
        m_wrapper.clear_work();
        const std::size_t blocks = block_bytes();
        if (!m_wrapper.read_work(reader))
            return SectionReading::failed;
        const std::size_t cost = block_bytes() - blocks + size * bytes_per_byte + section_buffer_size<T>;
        exchange();
        if (place.found != nullptr)
            note_changed(*place.found, section, size, cost);
        else if (has_room(cost_of_knowing))
            m_known[place.key].CRC_32 = CRC_32_of(section, size);
        return SectionReading::fresh;
    }

    /// From now on tables are read with this dictionary, those of the wrapper too, and a section is kept once it came
    /// `repetitions` times with the same bytes behind the first time that its key did.
    void set_up(ZQDescriptorType dictionary, unsigned repetitions)
    {
        forget();
        m_repetitions_until_kept = repetitions;
        m_dictionary = dictionary;
        m_cleared.reset();
        m_wrapper.set_dictionary(dictionary);
    }

    /// The wrapper's tables stay as they are.
    void forget()
    {
        m_bytes = 0;
        m_current = nullptr;
        m_known.clear();
    }

private:
    static constexpr std::size_t cost_of_knowing = 2 * sizeof(known);
    /// Of a section: its copy, and what its table takes outside of blocks.
    static constexpr std::size_t bytes_per_byte = 8;
    /// Sections that found no room until others are forgotten for them; far more than come again in a carousel.
    static constexpr unsigned refusals_until_forgetting = 1U << 17;

    /// What stays when a section gets new contents: table_id, its extension and section_number, and in an EIT
    /// transport_stream_id and original_network_id. 0 for sections without them.
    static std::uint64_t key_of(const unsigned char* section, std::size_t size)
    {
        const std::size_t network_ids = std::is_same_v<T, CEIT> ? 4 : 0;
        if (size < 8 + network_ids)
            return 0;
        std::uint64_t key = std::uint64_t{section[0]} << 24 | section[3] << 16 | section[4] << 8 | section[6];
        for (std::size_t at = 8; at < 8 + network_ids; ++at)
            key = key << 8 | section[at];
        return key;
    }

    static std::uint32_t CRC_32_of(const unsigned char* section, std::size_t size)
    {
        std::uint32_t crc = 0;
        if (size >= sizeof crc)
            std::memcpy(&crc, section + size - sizeof crc, sizeof crc);
        return crc;
    }

    bool has_room(std::size_t bytes)
    {
        if (bytes <= m_most_bytes - m_bytes) {
            m_bytes += bytes;
            return true;
        }
        if (++m_refused % refusals_until_forgetting == 0)
            forget();
        return false;
    }

    void keep_cleared(std::unique_ptr<T> table)
    {
        // A buffer that nothing was put into is zero already, and no longer near the processor.
        unsigned char* const clear_buffer = table->used == 0 ? std::exchange(table->buffer, nullptr) : nullptr;
        table->Clear();
        if (clear_buffer != nullptr)
            table->buffer = clear_buffer;
        m_cleared = std::move(table);
    }

    /// The current table, if it is on loan, goes back; whether it is.
    bool take_back_current()
    {
        if (m_current == nullptr)
            return false;
        m_current->table.reset(m_wrapper.current);
        m_current = nullptr;
        return true;
    }

    void make_current(known& one)
    {
        if (!take_back_current())
            keep_cleared(std::unique_ptr<T>(m_wrapper.current));
        m_wrapper.current = one.table.release();
        m_wrapper.valid = 1;
        one.as_read.restore(*m_wrapper.current);
        set_current(one);
    }

    void set_current(known& one)
    {
        m_current = &one;
        m_exchanges = m_wrapper.m_exchanges;
    }

    /// The table just read becomes the current one.
    void exchange()
    {
        if (m_current == nullptr)
            return m_wrapper.exchange();
        if (!m_cleared) {
            m_cleared = std::make_unique<T>(nullptr, section_buffer_size<T>);
            m_cleared->descriptor_dictionary = m_dictionary;
        }
        take_back_current();
        m_wrapper.current = std::exchange(m_wrapper.work, m_cleared.release());
        m_wrapper.m_work_was_read = false;
        m_wrapper.valid = 1;
    }

    /// A section that is known came with other bytes and was read; it is kept once it has repeated often enough.
    void note_changed(known& one, const unsigned char* section, std::size_t size, std::size_t cost)
    {
        std::vector<unsigned char> bytes = std::exchange(one.section, {}); // with its memory
        if (!bytes.empty()) {
            m_bytes -= one.cost;
            keep_cleared(std::move(one.table));
        }
        const std::uint32_t CRC_32 = CRC_32_of(section, size);
        if (std::exchange(one.CRC_32, CRC_32) != CRC_32)
            one.repetitions = 0;
        else if (one.repetitions < m_repetitions_until_kept)
            ++one.repetitions;
        if (one.repetitions < m_repetitions_until_kept || !has_room(cost))
            return; // there may be no `one` any more
        one.cost = cost;
        bytes.assign(section, section + size);
        one.section = std::move(bytes);
        one.as_read.note(*m_wrapper.current);
        set_current(one);
    }

    CPacketWrapper<T>& m_wrapper;
    const std::size_t m_most_bytes;
    ZQDescriptorType m_dictionary = ZQDescriptorType::TS;
    unsigned m_repetitions_until_kept = usual_repetitions;
    std::map<std::uint64_t, known> m_known; ///< no stream can make a map slow, as it can a hash table
    known* m_current = nullptr;             ///< that of the wrapper's current table
    std::unique_ptr<T> m_cleared;           ///< to read the next section into
    unsigned m_exchanges = 0;               ///< of the wrapper, when m_current was set
    unsigned m_refused = 0;
    std::size_t m_bytes = 0;
};
} // namespace mpegcore
