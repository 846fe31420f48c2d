// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BasePID.h"
#include "mpegcore/parser/PayloadUnitBudget.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace mpegcore
{
static_assert(sizeof(CBasePID) == alignof(CBasePID), "every packet would need a second cache line");

CBasePID::~CBasePID()
{
    delete collecting;
    delete completed;
}

void CBasePID::clear()
{
    continuity_counter = 0xFF;
    bytes = 0;
    last_pcr = 0;
    started = 0;
    if (collecting != nullptr)
        collecting->size = 0;
    if (completed != nullptr)
        completed->size = 0;
}

void CBasePID::create_buffers()
{
    if (collecting == nullptr)
        collecting = new CDataAccumulator(first_capacity);
    completed = new CDataAccumulator(first_capacity);
    if (m_budget != nullptr)
        m_budget->got_buffers(*this);
}

// CDataAccumulator grows by what is needed plus 4095 bytes, which costs quadratic time over a long unit; here the
// room doubles.
bool CBasePID::grow(std::size_t needed)
{
    if (needed > max_unit_size)
        return false;
    const std::size_t old_capacity = collecting->capacity;
    const std::size_t capacity = std::min(std::max(needed, 2 * old_capacity), max_unit_size);
    // While the bytes are copied both buffers are there, and both have to be within the budget.
    if (m_budget != nullptr && !m_budget->make_room(capacity, *this))
        return false;
    collecting->reserve(capacity);
    return m_budget == nullptr || m_budget->take(capacity - old_capacity);
}

/// The buffer shrinks to its first size. The completed unit, which may just be on its way to a callback, keeps its own.
/// Always false.
bool CBasePID::discard_unit()
{
    started = 0;
    shrink(collecting);
    return false;
}

/// Empties it, too.
void CBasePID::shrink(CDataAccumulator*& buffer)
{
    if (buffer->capacity > first_capacity) {
        auto first = std::make_unique<CDataAccumulator>(first_capacity);
        if (m_budget != nullptr)
            m_budget->give_back(buffer->capacity - first_capacity);
        delete buffer;
        buffer = first.release();
    }
    buffer->size = 0;
}

void CBasePID::release_idle()
{
    if (completed != nullptr && completed->capacity > first_capacity)
        shrink(completed);
    if (collecting != nullptr && collecting->size == 0)
        shrink(collecting);
}

void CBasePID::give_up_if_silent()
{
    const bool was_heard = had_packet == heard || had_packet == heard_since_give_up;
    if (!was_heard && collecting != nullptr && collecting->capacity > first_capacity)
        discard_unit();
    had_packet = had_packet == heard || had_packet == heard_since_release ? heard_since_release : 0;
}

void CBasePID::release_if_silent(bool keeps_unit)
{
    const bool was_heard = had_packet == heard || had_packet == heard_since_release;
    had_packet = had_packet == heard || had_packet == heard_since_give_up ? heard_since_give_up : 0;
    if (was_heard) {
        constexpr std::size_t longest_PES_packet = 6 + 0xFFFF;
        if (started == 0 || collecting->size <= longest_PES_packet)
            return;
        ++sweeps;
        if (sweeps >= (collecting->size > long_unit ? most_sweeps_of_a_long_unit : most_sweeps)) {
            discard_unit();
            release_idle(); // nobody waits for the unit in front of it
        }
        return;
    }
    if (keeps_unit)
        return release_idle();
    started = 0;
    release(collecting);
    release(completed);
}

void CBasePID::release(CDataAccumulator*& buffer)
{
    if (buffer == nullptr)
        return;
    if (m_budget != nullptr)
        m_budget->give_back(buffer->capacity - first_capacity);
    delete buffer;
    buffer = nullptr;
}

std::int64_t CBasePID::putPCR(const transport_packet& packet)
{
    const auto& field = packet.adaptation_field;
    const std::uint64_t time =
        (field.program_clock_reference_base * 300 + field.program_clock_reference_extension) * 10 / 27;
    const double seconds = static_cast<double>(time - last_pcr) / 10000000.0;
    const double rate = static_cast<double>(bytes * 8) / seconds;
    // Not "rate >= 2^63": a repeated PCR without bytes between gives a NaN.
    bitrate = rate < 9223372036854775808.0 ? static_cast<std::int64_t>(rate) : std::numeric_limits<std::int64_t>::min();
    bytes = 0;
    last_pcr = time;
    return bitrate;
}
} // namespace mpegcore
