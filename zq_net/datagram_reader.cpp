// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net/datagram_reader.h"

#include "zq_net/nanoseconds.h"

#include <sys/mman.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace zq_net
{
namespace
{
std::uint64_t in_nanoseconds(const timespec& time)
{
    return static_cast<std::uint64_t>(time.tv_sec) * second + static_cast<std::uint64_t>(time.tv_nsec);
}

std::uint64_t time_of(clockid_t clock)
{
    timespec now{};
    ::clock_gettime(clock, &now);
    return in_nanoseconds(now);
}

/// What the kernel tells beside a datagram: its stamp, for which the time now stands without one, and drops, if any.
void take_details(msghdr& header, datagram_reader::datagram& taken)
{
    taken.arrival = 0;
    taken.dropped_before = 0;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET)
            continue;
        if (part->cmsg_type == SCM_TIMESTAMPNS) {
            timespec time{};
            std::memcpy(&time, CMSG_DATA(part), sizeof(time));
            taken.arrival = in_nanoseconds(time);
        } else if (part->cmsg_type == SO_RXQ_OVFL) {
            std::memcpy(&taken.dropped_before, CMSG_DATA(part), sizeof(taken.dropped_before));
        }
    }
    if (taken.arrival == 0)
        taken.arrival = real_time();
}

unsigned char* map(std::size_t size)
{
    void* const memory =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc{};
    return static_cast<unsigned char*>(memory);
}
} // namespace

std::uint64_t real_time() { return time_of(CLOCK_REALTIME); }

std::uint64_t steady_time() { return time_of(CLOCK_MONOTONIC); }

void datagram_reader::unmap::operator()(unsigned char* memory) const { ::munmap(memory, size); }

datagram_reader::datagram_reader(std::size_t most, std::size_t largest, details wanted)
    : m_most{most}, m_largest{largest}, m_details{wanted}, m_long{map(most * largest), unmap{most * largest}}
{}

hot_spares<datagram_reader::desk> datagram_reader::small_desks, datagram_reader::desks;

void datagram_reader::desk::make_room(std::size_t count)
{
    parts.resize(count);
    senders.resize(count);
    controls.resize(count);
    datagrams.resize(count);
    messages.assign(count, mmsghdr{}); // last: its size is that of all
    for (std::size_t i = 0; i < count; ++i) {
        msghdr& header = messages[i].msg_hdr;
        header.msg_iov = parts[i].data();
        header.msg_iovlen = 2;
        header.msg_name = &senders[i];
        header.msg_control = controls[i].bytes.data();
    }
}

void datagram_reader::release()
{
    if (m_desk != nullptr)
        (m_desk->messages.size() <= small ? small_desks : desks).give(std::move(m_desk));
}

int datagram_reader::read(int socket, unsigned char* memory, std::size_t slot_size, std::size_t count, bool wait,
                          std::size_t kept)
{
    count = std::min(count, most() - std::min(kept, most()));
    slot_size = std::min(slot_size, m_largest);
    if (m_desk == nullptr)
        m_desk = (count <= small ? small_desks : desks).take();
    if (count > m_desk->messages.size())
        m_desk->make_room(count);
    auto& messages = m_desk->messages;
    unsigned char* const whole = m_long.get() + kept * m_largest;
    for (std::size_t i = 0; i < count; ++i) {
        msghdr& header = messages[i].msg_hdr;
        header.msg_namelen = m_details == details::all ? sizeof(sockaddr_storage) : 0;
        header.msg_controllen = m_details == details::all ? sizeof(control) : 0;
        m_desk->parts[i][0] = {memory + i * slot_size, slot_size};
        m_desk->parts[i][1] = {whole + i * m_largest + slot_size, m_largest - slot_size};
    }
    const int received = ::recvmmsg(socket, messages.data(), static_cast<unsigned>(count),
                                    wait ? MSG_WAITFORONE : MSG_DONTWAIT, nullptr);
    if (received < 0)
        return errno == EAGAIN || errno == EINTR ? 0 : -1;
    for (std::size_t i = 0; i < static_cast<std::size_t>(received); ++i) {
        // A socket that was shut down gives empty messages from nobody.
        if (m_details == details::all && messages[i].msg_hdr.msg_namelen == 0)
            return static_cast<int>(i);
        take(i, memory + i * slot_size, slot_size, whole + i * m_largest);
    }
    return received;
}

void datagram_reader::take(std::size_t index, unsigned char* slot, std::size_t slot_size, unsigned char* whole)
{
    mmsghdr& message = m_desk->messages[index];
    datagram& taken = m_desk->datagrams[index];
    taken = {slot, message.msg_len};
    if (taken.size > slot_size) {
        taken.data = whole;
        std::memcpy(taken.data, slot, slot_size);
    }
    taken.truncated = (message.msg_hdr.msg_flags & MSG_TRUNC) != 0;
    if (m_details == details::none)
        return;
    take_details(message.msg_hdr, taken);
    taken.sender = &m_desk->senders[index];
    taken.sender_size = message.msg_hdr.msg_namelen;
}
} // namespace zq_net
