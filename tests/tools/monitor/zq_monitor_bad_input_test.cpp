// SPDX-License-Identifier: LGPL-2.1-or-later
#include "running_monitor.h"
#include "support/Program.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gmock/gmock.h>

#include <optional>

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
    /// What goes before a command line so that it may not bind ports below 1024; nothing where all may, and no network
    /// of its own can be had, in which that is so.
    [[nodiscard]] std::optional<std::string> without_low_ports() const
    {
        const bool is_root = geteuid() == 0;
        const std::string network = is_root ? "unshare -n " : "unshare -rn ";
        const std::string right = "setpriv --bounding-set=-net_bind_service ";
        if (shell(network + right + "true").exit_code == 0)
            return network + right;
        unsigned first_of_all = 0;
        std::ifstream("/proc/sys/net/ipv4/ip_unprivileged_port_start") >> first_of_all;
        if (first_of_all <= low_port)
            return std::nullopt;
        return is_root ? right : std::string();
    }

    static constexpr unsigned low_port = 80;

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

TEST_F(BadInput, AFileWithoutStreamsIsAFaultAtTheStartAndForACheck)
{
    std::ofstream(folder / "list.toml") << "[defaults]\nlabels = { site = \"north\" }\n";
    const auto started = shell("'" ZQ_MONITOR_TOOL "' --streams list.toml");
    EXPECT_EQ(started.exit_code, 1);
    EXPECT_EQ(started.text, "zq-monitor: list.toml: there is no [[stream]]\n");
    const auto checked = shell("'" ZQ_MONITOR_TOOL "' --streams list.toml --check");
    EXPECT_EQ(checked.exit_code, 1);
    EXPECT_EQ(checked.text, "list.toml: there is no [[stream]]\n");
}

TEST_F(BadInput, APageOnALowPortWithoutTheRightEndsItWithTheReason)
{
    const auto without = without_low_ports();
    if (!without)
        GTEST_SKIP() << "everybody may bind port " << low_port << " here";
    const auto refused = shell(*without + "'" ZQ_MONITOR_TOOL "' --http 0.0.0.0:80 A=udp://:5000");
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.text, "zq-monitor: cannot listen on 0.0.0.0:80: Permission denied\n");
}

TEST_F(BadInput, AStreamOnALowPortWithoutTheRightIsClosedWithTheReason)
{
    const auto without = without_low_ports();
    if (!without)
        GTEST_SKIP() << "everybody may bind port " << low_port << " here";
    const auto told = shell(*without + "'" ZQ_MONITOR_TOOL "' --json A=udp://:80 | head -n 1");
    const auto stream = nlohmann::json::parse(told.text);
    EXPECT_EQ(stream["state"], "closed");
    EXPECT_EQ(stream["fault"], "cannot receive on 0.0.0.0:80: Permission denied");
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
