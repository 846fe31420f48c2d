// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/paced_sending.h"

#include "support/watchdog.h"

namespace support
{
namespace
{
/// What a socket may have to hold between two waits, and what it pays for a datagram beyond its bytes.
constexpr std::size_t room = std::size_t{96} * 1024;
constexpr std::size_t cost_of_one = 1024;

std::uint64_t counted(const element& receiver) { return std::stoull(figure(receiver, "Data counter [byte]")); }
} // namespace

bool send_paced(const udp_sender& sender, const std::vector<std::vector<unsigned char>>& datagrams,
                const std::vector<const element*>& receivers)
{
    std::vector<std::uint64_t> before;
    before.reserve(receivers.size());
    for (const auto* receiver : receivers)
        before.push_back(counted(*receiver));
    std::uint64_t sent = 0;
    const auto caught_up = [&] {
        for (std::size_t i = 0; i < receivers.size(); ++i)
            if (counted(*receivers[i]) < before[i] + sent)
                return false;
        return true;
    };
    std::size_t held = 0;
    for (const auto& datagram : datagrams) {
        held += datagram.size() + cost_of_one;
        if (held > room) {
            if (!eventually(caught_up))
                return false;
            held = datagram.size() + cost_of_one;
        }
        sender.send(datagram);
        sent += datagram.size();
    }
    return eventually(caught_up);
}
} // namespace support
