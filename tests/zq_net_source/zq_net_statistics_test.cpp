// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_statistics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace zq_net_statistics_test
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Pair;

TEST(Statistics, OfAFreshElementAreZeroAndEmpty)
{
    const zq_net_statistics statistics;
    EXPECT_THAT(statistics.get_items(),
                ElementsAre(Pair("System time", "000:00:00.000"), Pair("Data counter [byte]", "0"),
                            Pair("Bit rate [bit/sec]", "0"), Pair("Last error", "")));
}

TEST(Statistics, ShowWhatWasSetLast)
{
    zq_net_statistics statistics;
    statistics.set_system_time(3725042ms);
    statistics.add_data(1316);
    statistics.add_data(18446744073709550299U);
    statistics.set_bit_rate(50000000);
    statistics.set_last_error("Connection refused");
    EXPECT_THAT(statistics.get_items(),
                ElementsAre(Pair("System time", "001:02:05.042"), Pair("Data counter [byte]", "18446744073709551615"),
                            Pair("Bit rate [bit/sec]", "50000000"), Pair("Last error", "Connection refused")));
}

TEST(Statistics, ResetClearsTheCountersAndKeepsSystemTimeAndLastError)
{
    zq_net_statistics statistics;
    statistics.set_system_time(1s);
    statistics.add_data(188);
    statistics.set_bit_rate(1504);
    statistics.set_last_error("No free buffers in the buffer pool");
    statistics.reset();
    EXPECT_THAT(statistics.get_items(),
                ElementsAre(Pair("System time", "000:00:01.000"), Pair("Data counter [byte]", "0"),
                            Pair("Bit rate [bit/sec]", "0"), Pair("Last error", "No free buffers in the buffer pool")));
}

TEST(Statistics, AreReachedThroughTheirBase)
{
    const zq_net_statistics statistics;
    const zq_base_statistics& base = statistics;
    EXPECT_EQ(base.get_items().size(), 4U);
}

TEST(Statistics, MayBeReadWhileAnotherThreadWrites)
{
    zq_net_statistics statistics;
    std::thread writer{[&] {
        for (int i = 0; i < 5000; ++i) {
            statistics.add_data(1);
            statistics.set_last_error(i % 2 == 0 ? "even" : "odd");
        }
    }};
    for (int i = 0; i < 500; ++i)
        EXPECT_THAT(statistics.get_items()[3].second, testing::AnyOf("", "even", "odd"));
    writer.join();
    EXPECT_EQ(statistics.get_items()[1].second, "5000");
}
} // namespace zq_net_statistics_test
