// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/RTP.h"
#include "support/element.h"
#include "support/net_sandbox.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace zq_udp_src_many_test
{
using support::eventually;
using support::pattern;

using bytes = std::vector<unsigned char>;

/// Elements in one pipeline, each with a sink of its own and what it delivered.
struct elements
{
    explicit elements(const std::vector<std::string>& properties)
    {
        std::string description;
        for (std::size_t i = 0; i < properties.size(); ++i)
            description +=
                " zqudpsrc name=src" + std::to_string(i) + " " + properties[i] + " ! fakesink sync=false async=false";
        pipeline = support::parse(description);
        for (std::size_t i = 0; i < properties.size(); ++i) {
            const auto source = support::named(pipeline, ("src" + std::to_string(i)).c_str());
            recorders.push_back(std::make_unique<support::recorder>(support::pad_of(source, "src").get()));
        }
        support::set_state(pipeline, GST_STATE_PLAYING);
    }
    ~elements() { support::set_state(pipeline, GST_STATE_NULL); }

    bool got(std::size_t index, const bytes& expected) const
    {
        return eventually([&] { return recorders[index]->bytes().size() >= expected.size(); }) &&
               recorders[index]->bytes() == expected;
    }

    /// What it delivered behind any number of this packet.
    bytes behind(std::size_t index, const bytes& packet) const
    {
        bytes rest = recorders[index]->bytes();
        while (rest.size() >= packet.size() && std::equal(packet.begin(), packet.end(), rest.begin()))
            rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(packet.size()));
        return rest;
    }

    bool all_have(std::size_t size) const
    {
        return std::all_of(recorders.begin(), recorders.end(),
                           [size](const auto& recorder) { return recorder->bytes().size() >= size; });
    }

    support::watchdog guard;
    support::element pipeline;
    std::vector<std::unique_ptr<support::recorder>> recorders;
};

std::string group(unsigned number, std::uint16_t port)
{
    return "address=239.5.5." + std::to_string(number) + " interface=lo port=" + std::to_string(port);
}

TEST(ManyUdpSrcs, OnFortyGroupsOfOnePortGetEachItsOwn)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "needs multicast on the loopback";
    const auto port = support::free_port();
    std::vector<std::string> properties;
    for (unsigned i = 0; i < 40; ++i)
        properties.push_back(group(i + 1, port));
    const elements all{properties};
    // Sent again until all have some, as on a busy machine the last of them may not have joined yet.
    EXPECT_TRUE(eventually([&] {
        for (unsigned i = 0; i < 40; ++i)
            support::udp_sender{"239.5.5." + std::to_string(i + 1), port}.send(pattern(188, i));
        return all.all_have(188);
    }));
    std::vector<bytes> expected(40);
    for (unsigned round = 1; round <= 3; ++round)
        for (unsigned i = 0; i < 40; ++i) {
            const bytes packet = pattern(188, 40 * round + i);
            support::udp_sender{"239.5.5." + std::to_string(i + 1), port}.send(packet);
            expected[i].insert(expected[i].end(), packet.begin(), packet.end());
        }
    for (unsigned i = 0; i < 40; ++i)
        EXPECT_TRUE(eventually([&] { return all.behind(i, pattern(188, i)) == expected[i]; })) << i;
}

TEST(ManyUdpSrcs, OnOneGroupGetAllOfIt)
{
    if (!support::in_net_sandbox())
        GTEST_SKIP() << "needs multicast on the loopback";
    const auto port = support::free_port();
    const elements all{{group(1, port), group(1, port), group(1, port)}};
    support::udp_sender{"239.5.5.1", port}.send(pattern(1316));
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_TRUE(all.got(i, pattern(1316)));
}

TEST(ManyDatagramSizes, AreDeliveredOrDroppedAsTheyDeserve)
{
    const auto port = support::free_port();
    const elements one{{"address=127.0.0.1 port=" + std::to_string(port)}};
    const support::udp_sender sender{"127.0.0.1", port};
    const auto rtp = support::rtp_datagram(7, pattern(1316, 3));
    ASSERT_EQ(rtp.size(), 1328U);
    bytes largest = pattern(65507, 4);
    for (const bytes& datagram : {bytes{}, bytes{0x11}, pattern(187, 1), pattern(1316, 2), rtp, largest})
        sender.send(datagram);
    bytes expected = pattern(1316, 2);
    const auto payload = pattern(1316, 3);
    expected.insert(expected.end(), payload.begin(), payload.end());
    // 65507 are 348 packets and 83 bytes of one whose end does not come.
    expected.insert(expected.end(), largest.begin(), largest.begin() + 348 * 188);
    EXPECT_TRUE(one.got(0, expected));
}
} // namespace zq_udp_src_many_test
