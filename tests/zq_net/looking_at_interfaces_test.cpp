// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/made_interface.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"
#include "zq_net/transport_input.h"
#include "zq_net/udp_socket.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <ifaddrs.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
/// What happens when somebody looks at the interfaces of this host: true when none are there.
std::atomic<const std::function<bool()>*> on_look{nullptr};
} // namespace

/// In place of that of the C library, which it calls.
extern "C" int getifaddrs(ifaddrs** list) noexcept
{
    if (const auto* const looked = on_look.load(); looked != nullptr && (*looked)()) {
        *list = nullptr;
        return 0;
    }
    static const auto original = reinterpret_cast<decltype(&::getifaddrs)>(::dlsym(RTLD_NEXT, "getifaddrs"));
    return original(list);
}

namespace looking_at_interfaces_test
{
using support::made_interface;
using support::pattern;
using zq_net::transport_input;

class LookingAtInterfaces : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!interface.is_made())
            GTEST_SKIP() << "needs a network of its own, and the program ip";
    }
    void TearDown() override { on_look = nullptr; }

    support::watchdog guard;
    made_interface interface;
    zq_net::udp_settings settings{"239.9.9.9", support::free_port(), interface.ipv4(), {}, 0};
};

TEST_F(LookingAtInterfaces, FindsOneThatAppearsWhileAGroupIsJoinedOnItOrNone)
{
    for (const unsigned there_from : {0U, 1U, 2U}) {
        unsigned looks = 0;
        const std::function<bool()> appears = [&] { return looks++ < there_from; };
        on_look = &appears;
        zq_net::udp_socket socket;
        std::string error;
        const bool is_open = socket.open(settings, error);
        on_look = nullptr;
        EXPECT_EQ(is_open, there_from == 0);
        if (!is_open) {
            EXPECT_EQ(error, "this host has no interface \"" + interface.ipv4() + '"');
            continue;
        }
        support::send_to_group(interface.name(), settings.address, settings.port, pattern(188));
        unsigned char byte = 0;
        EXPECT_EQ(::recv(socket.descriptor(), &byte, 1, 0), 1);
    }
}

TEST_F(LookingAtInterfaces, HoldsUpNobodyWhoAsksForFiguresPausesOrInterrupts)
{
    transport_input input;
    zq_net::input_settings wanted;
    wanted.legs.push_back(settings);
    ASSERT_TRUE(input.open(wanted)) << input.error();
    std::promise<void> looked, goes_on;
    std::atomic<bool> first{true};
    auto waited = goes_on.get_future();
    const std::function<bool()> waits = [&] {
        if (first.exchange(false)) {
            looked.set_value();
            waited.wait();
        }
        return false;
    };
    on_look = &waits;
    std::thread receiver{[&] {
        std::vector<unsigned char> memory(2 * 1316);
        while (input.receive(memory.data(), 2, 1316) != transport_input::result::interrupted)
            ;
    }};
    looked.get_future().wait();
    EXPECT_EQ(input.figures().legs[0].rejoins, 0U);
    input.set_idle(true);
    input.set_idle(false);
    input.interrupt();
    goes_on.set_value();
    receiver.join();
}
} // namespace looking_at_interfaces_test
