// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/SpliceCommand.h"
#include "mpegcore/StandardTable.h"

namespace mpegcore
{
/// Splice information section (ANSI/SCTE 35, 9.6): table_id 0xFC. The `reserved` bits of the common header are
/// sap_type.
class CSpliceInfoSection : public CStandardTable<CSpliceInfoSection, true>
{
public:
    using CStandardTable::CStandardTable;

    static constexpr std::uint8_t splice_null = 0x00;
    static constexpr std::uint8_t splice_schedule = 0x04;
    static constexpr std::uint8_t splice_insert = 0x05;
    static constexpr std::uint8_t time_signal = 0x06;
    static constexpr std::uint8_t bandwidth_reservation = 0x07;
    static constexpr std::uint8_t private_command = 0xFF;
    /// splice_command_length of older senders: the command itself says how long it is.
    static constexpr std::uint16_t length_not_given = 0xFFF;

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io)
    {
        if (!io.bits(8, "protocol_version", t.protocol_version) ||
            !io.bits(1, "encrypted_packet", t.encrypted_packet) ||
            !io.bits(6, "encryption_algorithm", t.encryption_algorithm) ||
            !io.bits(33, "pts_adjustment", t.pts_adjustment) || !io.bits(8, "cw_index", t.cw_index) ||
            !io.bits(12, "tier", t.tier) || !io.bits(12, "splice_command_length", t.splice_command_length))
            return false;
        if (!t.is_readable())
            return io.rest("encrypted_byte", t.encrypted_byte);
        if (!io.bits(8, "splice_command_type", t.splice_command_type))
            return false;
        if (t.splice_command_length == length_not_given && !t.command_ends_itself())
            return io.rest("command_byte", t.command_byte);
        return command_of_its_length(t, io) &&
               io.length(16, "descriptor_loop_length", t.descriptor_loop_length, t.descriptors.getSize()) &&
               io.descriptors(t.descriptor_loop_length, "descriptors", t.descriptors) &&
               io.rest("alignment_stuffing", t.alignment_stuffing);
    }

    void copyTo(CSpliceInfoSection* target) const
    {
        if (target == nullptr || target == this)
            return;
        copy_header(*target);
        target->protocol_version = protocol_version;
        target->encrypted_packet = encrypted_packet;
        target->encryption_algorithm = encryption_algorithm;
        target->pts_adjustment = pts_adjustment;
        target->cw_index = cw_index;
        target->tier = tier;
        target->splice_command_length = splice_command_length;
        target->splice_command_type = splice_command_type;
        target->schedule = schedule;
        target->insert = insert;
        target->time = time;
        target->identifier = identifier;
        target->command_byte = command_byte;
        target->descriptor_loop_length = descriptor_loop_length;
        target->descriptors.clear();
        descriptors.copyTo(target->descriptors);
        target->alignment_stuffing = alignment_stuffing;
        target->encrypted_byte = encrypted_byte;
        target->CRC_32 = CRC_32;
    }

    void clear_loops()
    {
        schedule = {};
        insert = {};
        command_byte.clear();
        descriptors.clear();
        alignment_stuffing.clear();
        encrypted_byte.clear();
    }

    /// False when the contents behind splice_command_length are cipher text or of another protocol: they are
    /// encrypted_byte then, and nothing else behind that length has a meaning.
    bool is_readable() const { return encrypted_packet == 0 && protocol_version == 0; }

    std::uint8_t protocol_version = 0;
    std::uint8_t encrypted_packet = 0;
    std::uint8_t encryption_algorithm = 0; ///< 6 bits
    std::uint64_t pts_adjustment = 0;      ///< 33 bits, to be added to each pts_time of the section, modulo 2^33
    std::uint8_t cw_index = 0;
    std::uint16_t tier = 0;                  ///< 12 bits; 0xFFF is none
    std::uint16_t splice_command_length = 0; ///< 12 bits, bytes of the command, or length_not_given
    std::uint8_t splice_command_type = 0;
    SpliceSchedule schedule;      ///< the command splice_schedule
    SpliceInsert insert;          ///< the command splice_insert
    SpliceTime time;              ///< the command time_signal
    std::uint32_t identifier = 0; ///< the command private_command, whose bytes are in command_byte
    /// What stands behind the command within its length: all of a command without a class; all to the CRC_32 when such
    /// a command does not give its length.
    std::vector<unsigned char> command_byte;
    std::uint16_t descriptor_loop_length = 0; ///< as read; written is the size of `descriptors`
    ZQDescriptorList descriptors{ZQDescriptorType::StandardSCTE35};
    std::vector<unsigned char> alignment_stuffing;
    std::vector<unsigned char> encrypted_byte; ///< with E_CRC_32 at its end

private:
    bool command_ends_itself() const
    {
        return splice_command_type == splice_null ||
               (splice_command_type >= splice_schedule && splice_command_type <= bandwidth_reservation);
    }

    template <class Self, class Io>
    static bool command_of_its_length(Self& t, Io& io)
    {
        if (t.splice_command_length == length_not_given)
            return command(t, io);
        return io.exactly(t.splice_command_length,
                          [&] { return command(t, io) && io.rest("command_byte", t.command_byte); });
    }

    template <class Self, class Io>
    static bool command(Self& t, Io& io)
    {
        switch (t.splice_command_type) {
        case splice_schedule:
            return io.entry("splice_schedule", t.schedule);
        case splice_insert:
            return io.entry("splice_insert", t.insert);
        case time_signal:
            return io.entry("time_signal", t.time);
        case private_command:
            return io.bits(32, "identifier", t.identifier);
        default:
            return true;
        }
    }
};
} // namespace mpegcore
