// SPDX-License-Identifier: LGPL-2.1-or-later
#include "running_monitor.h"
#include "support/Program.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gmock/gmock.h>

#include <unistd.h>

namespace zq_monitor_bad_input_test
{
using monitor_runs::entry;
using monitor_runs::on_port;
using monitor_runs::running;
using support::eventually;
using testing::HasSubstr;

class BadInput : public zqtest::Program
{
protected:
    /// As somebody who may not read or write everything.
    [[nodiscard]] Result run_without_privileges(const std::string& arguments) const
    {
        const std::string without = geteuid() == 0 ? "setpriv --bounding-set=-dac_override,-dac_read_search " : "";
        return shell(without + "'" ZQ_MONITOR_TOOL "' " + arguments);
    }
    void make_unreadable(const std::string& name) const
    {
        std::filesystem::permissions(folder / name, std::filesystem::perms::none);
    }

    support::watchdog watchdog;
};

TEST_F(BadInput, AFileOfStreamsThatMayNotBeReadIsTold)
{
    std::ofstream(folder / "list.toml") << entry("A", 5000);
    make_unreadable("list.toml");
    for (const auto* more : {"", " --check"}) {
        const auto refused = run_without_privileges(std::string("--streams list.toml") + more);
        EXPECT_EQ(refused.exit_code, 1);
        EXPECT_THAT(refused.text, testing::EndsWith("list.toml: Permission denied\n"));
    }
}

TEST_F(BadInput, AFileOfEventsThatMayNotBeWrittenIsTold)
{
    std::ofstream(folder / "events") << "";
    make_unreadable("events");
    const auto refused = run_without_privileges("--events events A=" + on_port(support::free_port()));
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.text, "zq-monitor: events: Permission denied\n");
}

TEST_F(BadInput, StreamsThatCannotBeOpenedAreToldAndTheOthersGoOn)
{
    const support::taken_port taken;
    const auto port = support::free_port();
    std::ofstream(folder / "list.toml") << entry("Taken", taken.number) << entry("Good", port)
                                        << "[[stream]]\nname = \"Elsewhere\"\naddress = \"udp://239.255.1.1:5000\"\n"
                                           "interface = \"nowhere0\"\n";
    running program(folder, {"--http", "0", "--streams", "list.toml"});
    const auto page = program.port();
    ASSERT_TRUE(eventually([&] { return monitor_runs::is_ready(page); }));
    const support::udp_traffic sender(port, std::chrono::milliseconds{10});
    const auto good = [&] { return monitor_runs::streams_at(page).at(1)["bit_rate"] > 0; };
    EXPECT_TRUE(eventually(good));
    const auto streams = monitor_runs::streams_at(page);
    EXPECT_EQ(streams.at(0)["state"], "closed");
    EXPECT_THAT(streams.at(0)["fault"].get<std::string>(), HasSubstr("Address already in use"));
    EXPECT_EQ(streams.at(2)["state"], "closed");
    EXPECT_THAT(streams.at(2)["fault"].get<std::string>(), HasSubstr("nowhere0"));
    EXPECT_EQ(program.end(), 0);
}
} // namespace zq_monitor_bad_input_test
