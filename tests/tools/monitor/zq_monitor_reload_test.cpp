// SPDX-License-Identifier: LGPL-2.1-or-later
#include "running_monitor.h"
#include "support/Multiplex.h"
#include "support/Program.h"
#include "support/RTP.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <thread>

namespace zq_monitor_reload_test
{
using monitor_runs::running;
using nlohmann::json;
using support::eventually;

constexpr unsigned all_streams = 55;
/// In all of a test a socket gets no more datagrams than it has room for: nothing is lost however long the program
/// has to wait for the processor.
constexpr unsigned rounds_of_a_phase = 30;

/// A multicast group of the loopback for each of the streams, on one port, and datagrams to all of them.
class traffic
{
public:
    traffic()
    {
        for (unsigned number = 0; number < all_streams; ++number)
            m_senders.emplace_back(group(number), m_port);
    }

    [[nodiscard]] std::string entry(unsigned number) const
    {
        return "[[stream]]\nname = \"" + name(number) + "\"\naddress = \"udp://" + group(number) + ":" +
               std::to_string(m_port) + "\"\ninterface = \"lo\"\n";
    }
    static std::string name(unsigned number) { return "S" + std::to_string(number); }

    /// Sends a datagram to each stream, again and again, while `act` is under way and as many times in any case.
    template <class Act>
    void flows_while(Act act)
    {
        std::thread sends([this] {
            for (unsigned round = 0; round < rounds_of_a_phase; ++round) {
                send_to_all();
                std::this_thread::sleep_for(std::chrono::milliseconds{5});
            }
        });
        act();
        sends.join();
    }
    [[nodiscard]] unsigned sent() const { return m_number; }

private:
    static std::string group(unsigned number)
    {
        // Not those of another process.
        return "239.200." + std::to_string(static_cast<unsigned>(getpid()) % 250) + '.' + std::to_string(number + 1);
    }
    void send_to_all()
    {
        const auto datagram = support::rtp_datagram(static_cast<std::uint16_t>(m_number++), m_payload);
        for (const auto& sender : m_senders)
            sender.send(datagram);
    }
    static std::vector<unsigned char> payload()
    {
        zqtest::Multiplex multiplex(1);
        zqtest::Stream stream;
        stream.section(0, multiplex.PAT()).section(zqtest::Multiplex::PMT_PID(0), multiplex.PMT(0));
        return {stream.data.begin(), stream.data.end()};
    }

    const std::uint16_t m_port = support::free_port();
    const std::vector<unsigned char> m_payload = payload();
    std::deque<support::udp_sender> m_senders;
    unsigned m_number = 0;
};

class Reload : public zqtest::Program
{
protected:
    void write_list(const std::vector<unsigned>& numbers, const std::string& behind_the_first = {}) const
    {
        std::ofstream list(folder / "list.toml");
        for (const unsigned number : numbers)
            list << flow.entry(number) << (number == numbers.front() ? behind_the_first : std::string());
    }
    static std::vector<unsigned> numbers(unsigned first, unsigned end)
    {
        std::vector<unsigned> made;
        for (; first < end; ++first)
            made.push_back(first);
        return made;
    }
    static std::vector<std::string> names_at(std::uint16_t page)
    {
        std::vector<std::string> names;
        for (const auto& stream : monitor_runs::streams_at(page))
            names.push_back(stream["name"]);
        return names;
    }
    static std::vector<std::string> names_of(const std::vector<unsigned>& numbers)
    {
        std::vector<std::string> names;
        for (const unsigned number : numbers)
            names.push_back(traffic::name(number));
        return names;
    }
    /// Of a stream; "" when there is none.
    static std::string sample(const std::string& metrics, const std::string& name, unsigned number)
    {
        const std::string start = '\n' + name + "{stream=\"" + traffic::name(number) + "\"} ";
        const auto at = metrics.find(start);
        const auto begin = at + start.size();
        return at == std::string::npos ? std::string() : metrics.substr(begin, metrics.find('\n', begin) - begin);
    }
    static std::string metrics_at(std::uint16_t page)
    {
        return monitor_http::body_of(monitor_http::ask(page, "/metrics"));
    }

    support::watchdog watchdog{std::chrono::minutes{5}};
    traffic flow;
};

TEST_F(Reload, UnderLoadLosesNothingOfTheStreamsThatStay)
{
    write_list(numbers(0, 50));
    running program(folder, {"--quiet", "--http", "0", "--streams", "list.toml"});
    const auto page = program.port();
    ASSERT_TRUE(eventually([&] { return monitor_runs::is_ready(page); }));
    ASSERT_THAT(names_at(page), testing::ElementsAreArray(names_of(numbers(0, 50))));
    flow.flows_while([] {});

    // Ten go, five come, the others stand in another order, and one has another limit.
    auto changed = numbers(10, all_streams);
    std::rotate(changed.begin(), changed.begin() + 20, changed.end());
    flow.flows_while([&] {
        write_list(changed, "limits = { PAT = 700 }\n");
        program.read_again();
        EXPECT_TRUE(eventually([&] { return names_at(page) == names_of(changed) && monitor_runs::is_ready(page); }));
    });
    flow.flows_while([&] {
        std::ofstream(folder / "list.toml") << flow.entry(0) << "address = 5\n";
        program.read_again();
        EXPECT_TRUE(eventually([&] { return program.errors().find("stay as they are") != std::string::npos; }));
        EXPECT_THAT(program.errors(), testing::HasSubstr("list.toml:5: "));
    });
    EXPECT_EQ(names_at(page), names_of(changed));
    flow.flows_while([&] {
        write_list(changed, "limits = { PAT = 700 }\n");
        program.read_again();
    });

    const unsigned begun_anew = changed.front();
    const auto is_all_there = [&] {
        const auto metrics = metrics_at(page);
        for (unsigned number = 10; number < 50; ++number)
            if (number != begun_anew &&
                sample(metrics, "ts_input_datagrams_total", number) != std::to_string(flow.sent()))
                return false;
        return true;
    };
    EXPECT_TRUE(eventually(is_all_there));
    const auto metrics = metrics_at(page);
    for (unsigned number = 10; number < 50; ++number) {
        if (number == begun_anew)
            continue;
        EXPECT_EQ(sample(metrics, "ts_input_datagrams_total", number), std::to_string(flow.sent())) << number;
        EXPECT_EQ(sample(metrics, "ts_rtp_packets_expected_total", number), std::to_string(flow.sent())) << number;
        EXPECT_EQ(sample(metrics, "ts_rtp_packets_lost_total", number), "0") << number;
        EXPECT_EQ(sample(metrics, "ts_socket_drops_total", number), "0") << number;
    }
    for (unsigned number = 0; number < 10; ++number)
        EXPECT_EQ(sample(metrics, "ts_input_datagrams_total", number), "") << number;
    for (unsigned number = 50; number < all_streams; ++number) {
        const auto datagrams = sample(metrics, "ts_input_datagrams_total", number);
        EXPECT_GE(std::stoul('0' + datagrams), 2 * rounds_of_a_phase) << number;
        EXPECT_LT(std::stoul('0' + datagrams), flow.sent()) << number;
    }
    EXPECT_LT(std::stoul('0' + sample(metrics, "ts_input_datagrams_total", begun_anew)), flow.sent());
    EXPECT_EQ(program.end(), 0);
}
} // namespace zq_monitor_reload_test
