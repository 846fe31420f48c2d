// SPDX-License-Identifier: LGPL-2.1-or-later
#include "outside.h"
#include "running_monitor.h"
#include "support/udp_sender.h"
#include "tools/monitor/shard.h"

#include <gmock/gmock.h>

#include <fstream>
#include <optional>

namespace prometheus_test
{
using monitor_runs::running;
using nlohmann::json;

/// The first of "Stream 0", "Stream 1" and so on that a part of a list has.
std::string name_in(const monitor::shard& part)
{
    unsigned number = 0;
    while (!part.holds("Stream " + std::to_string(number)))
        ++number;
    return "Stream " + std::to_string(number);
}

class InPrometheus : public monitor_outside::Outside
{
protected:
    InPrometheus() : Outside("prometheus") {}

    static bool eventually(const std::function<bool()>& reached)
    {
        return support::eventually(reached, std::chrono::seconds{60});
    }

    /// Begins it with the rules as they are shipped, on a port that is free.
    void start(const std::vector<std::uint16_t>& targets)
    {
        json configuration;
        configuration["global"] = {{"scrape_interval", "1s"}, {"evaluation_interval", "1s"}};
        configuration["rule_files"] = {ZQ_SOURCE_DIR "/deploy/prometheus/zq-monitor-rules.yaml"};
        json addresses = json::array();
        for (const auto port : targets)
            addresses.push_back("127.0.0.1:" + std::to_string(port));
        configuration["scrape_configs"] = {
            {{"job_name", "zq-monitor"}, {"static_configs", json::array({{{"targets", addresses}}})}}};
        std::ofstream(folder / "prometheus.yaml") << configuration; // JSON is YAML
        const auto ready = [this] { return answer("/-/ready").find("200 OK") != std::string::npos; };
        for (int attempt = 0; attempt < 3; ++attempt) {
            m_port = support::free_port();
            m_prometheus.emplace(folder, "prometheus",
                                 std::vector<std::string>{"prometheus", "--config.file=prometheus.yaml",
                                                          "--storage.tsdb.path=data",
                                                          "--web.listen-address=127.0.0.1:" + std::to_string(m_port)});
            // It ends when somebody else took the port meanwhile.
            if (eventually([&] { return ready() || !m_prometheus->is_alive(); }) && m_prometheus->is_alive())
                return;
        }
        FAIL() << m_prometheus->errors();
    }

    /// The samples that an expression has now.
    [[nodiscard]] json query(const std::string& expression) const
    {
        return data_at("/api/v1/query?query=" + encoded(expression)).value("result", json::array());
    }
    /// Whether an alert of the shipped rules waits or fires, of those with such a label.
    [[nodiscard]] bool is_alerted(const std::string& name, const std::string& label, const std::string& wanted) const
    {
        const auto data = data_at("/api/v1/alerts");
        for (const auto& alert : data.value("alerts", json::array()))
            if (alert["labels"]["alertname"] == name && alert["labels"].value(label, "") == wanted)
                return true;
        return false;
    }
    [[nodiscard]] json data_at(const std::string& path) const
    {
        const auto told = json::parse(monitor_http::body_of(answer(path)), nullptr, false);
        return told.is_object() && told.contains("data") ? told["data"] : json::object();
    }

private:
    /// By HTTP/1.0, in one piece and to the end of the connection.
    [[nodiscard]] std::string answer(const std::string& path) const
    {
        const monitor_http::connection to(m_port);
        to.send("GET " + path + " HTTP/1.0\r\n\r\n");
        return to.receive();
    }
    static std::string encoded(const std::string& text)
    {
        std::string made;
        constexpr std::string_view digits = "0123456789ABCDEF";
        for (const char letter : text)
            if (std::isalnum(static_cast<unsigned char>(letter)) != 0)
                made += letter;
            else
                made.append({'%', digits[static_cast<unsigned char>(letter) >> 4U],
                             digits[static_cast<unsigned char>(letter) & 0x0FU]});
        return made;
    }

    std::uint16_t m_port = 0;
    std::optional<support::child_process> m_prometheus;
};

TEST_F(InPrometheus, AShardThatIsKilledIsAlertedAndItsStreamComesBackElsewhere)
{
    const std::string first = name_in({0, 2}), second = name_in({1, 2});
    const auto first_port = support::free_port(), second_port = support::free_port();
    std::ofstream(folder / "list.toml") << monitor_runs::entry(first, first_port)
                                        << monitor_runs::entry(second, second_port);
    const support::udp_traffic first_sender(first_port, std::chrono::milliseconds{20});
    const support::udp_traffic second_sender(second_port, std::chrono::milliseconds{20});
    const auto with = [](const std::string& part, std::uint16_t port) {
        return std::vector<std::string>{"--streams", "list.toml", "--shard",           part,
                                        "--quiet",   "--http",    std::to_string(port)};
    };
    std::optional<running> survivor;
    survivor.emplace(folder, with("0/2", 0), "survivor");
    running killed(folder, with("1/2", 0), "killed");
    const auto survivors = survivor->port(), killeds = killed.port();
    ASSERT_NE(survivors, 0);
    ASSERT_NE(killeds, 0);
    start({survivors, killeds});
    const auto is_up = [&](const std::string& stream, std::uint16_t instance) {
        return query("ts_input_up{stream=\"" + stream + "\",instance=\"127.0.0.1:" + std::to_string(instance) +
                     "\"} == 1")
                   .size() == 1;
    };
    ASSERT_TRUE(eventually([&] { return is_up(first, survivors) && is_up(second, killeds); }));
    EXPECT_TRUE(eventually([&] { return !is_alerted("StreamUnwatched", "stream", second); }));
    EXPECT_TRUE(eventually([&] { return query("ts_input_up").size() == 2; }));

    EXPECT_EQ(killed.end(SIGKILL), -1);
    EXPECT_TRUE(eventually([&] { return is_alerted("StreamUnwatched", "stream", second); }));
    EXPECT_TRUE(eventually([&] { return is_alerted("StreamsUnwatched", "job", "zq-monitor"); }));
    EXPECT_TRUE(
        eventually([&] { return is_alerted("MonitorDown", "instance", "127.0.0.1:" + std::to_string(killeds)); }));
    EXPECT_TRUE(eventually([&] { return !is_alerted("StreamUnwatched", "stream", first); }));

    EXPECT_EQ(survivor->end(), 0);
    survivor.emplace(folder, with("0/1", survivors), "heir");
    EXPECT_TRUE(eventually([&] { return is_up(first, survivors) && is_up(second, survivors); })) << survivor->errors();
    EXPECT_TRUE(eventually([&] { return !is_alerted("StreamUnwatched", "stream", second); }));
    EXPECT_TRUE(eventually([&] { return !is_alerted("StreamsUnwatched", "job", "zq-monitor"); }));
    EXPECT_EQ(survivor->end(), 0);
}

TEST_F(InPrometheus, EveryShippedRuleCanBeEvaluated)
{
    const auto port = support::free_port();
    const support::udp_traffic sender(port, std::chrono::milliseconds{20});
    running program(folder, {"--quiet", "--http", "0", "A=" + monitor_runs::on_port(port)});
    start({program.port()});
    ASSERT_TRUE(eventually([&] { return query("stream:ts_input_bits:rate1m").size() == 1; }));
    const auto data = data_at("/api/v1/rules");
    ASSERT_EQ(data["groups"].size(), 1U);
    const auto& rules = data["groups"][0]["rules"];
    EXPECT_GE(rules.size(), 10U);
    for (const auto& rule : rules)
        EXPECT_EQ(rule["health"], "ok") << rule;
    EXPECT_EQ(program.end(), 0);
}

class Promtool : public monitor_outside::Outside
{
protected:
    Promtool() : Outside("promtool") {}
};

TEST_F(Promtool, TakesTheMetricsOfTheDemo)
{
    running program(folder, {"--demo", "--http", "0"});
    const auto page = program.port();
    // The last that come are those of T2-MI and of the media delivery index.
    const auto metrics = [&] { return monitor_http::body_of(monitor_http::ask(page, "/metrics")); };
    ASSERT_TRUE(support::eventually([&] {
        const auto text = metrics();
        return text.find("\nts_plp_packets_total{") != std::string::npos &&
               text.find("\nts_mdi_delay_factor_seconds{") != std::string::npos;
    }));
    std::ofstream(folder / "metrics") << metrics();
    const auto checked = shell("promtool check metrics <metrics");
    EXPECT_EQ(checked.exit_code, 0) << checked.text;
    EXPECT_EQ(checked.text, "");
    EXPECT_EQ(program.end(), 0);
}
} // namespace prometheus_test
