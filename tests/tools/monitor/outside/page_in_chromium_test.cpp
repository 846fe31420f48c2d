// SPDX-License-Identifier: LGPL-2.1-or-later
#include "browser.h"
#include "outside.h"
#include "running_monitor.h"
#include "support/udp_sender.h"
#include "tools/monitor/demo/demo_multiplex.h"
#include "tools/monitor/demo/player.h"

#include <gmock/gmock.h>

#include <atomic>
#include <fstream>
#include <memory>

namespace page_in_chromium_test
{
using monitor_outside::browser;
using monitor_runs::running;
using nlohmann::json;

/// A multiplex that loses packets while it is told to.
class damaged_at_will final : public monitor::packet_source
{
public:
    damaged_at_will(const std::string& service, const std::atomic<bool>& is_damaged)
        : m_stream(service_called(service), 1'000'000), m_is_damaged(is_damaged)
    {}

    [[nodiscard]] bool next(timed_packet& packet) override
    {
        constexpr unsigned one_of = 10;
        if (m_is_damaged && ++m_places % one_of == 0 && !m_stream.next(packet))
            return false;
        return m_stream.next(packet);
    }

private:
    static monitor::demo_service service_called(const std::string& name)
    {
        monitor::demo_service service;
        service.name = name;
        return service;
    }

    monitor::demo_multiplex m_stream;
    const std::atomic<bool>& m_is_damaged;
    unsigned m_places = 0;
};

std::string page_at(std::uint16_t port, const std::string& path = "/")
{
    return "http://127.0.0.1:" + std::to_string(port) + path;
}

/// The light of a stream in the list.
std::string light_of(const std::string& stream)
{
    return "[...document.querySelectorAll('.list tbody tr')].find((row) => row.cells[1].textContent === '" + stream +
           "').querySelector('.light')";
}

std::string is_in_state(const std::string& stream, const std::string& state)
{
    return light_of(stream) + ".textContent === '" + state + "'";
}

const std::string names_of_rows =
    "[...document.querySelectorAll('.list tbody tr')].map((row) => row.cells[1].textContent)";

class PageInChromium : public monitor_outside::Outside
{
protected:
    PageInChromium() : Outside("chromium-headless-shell") {}

    /// The whole page, and each part of it that is not made for scrolling, is as wide as the view.
    static void expect_no_overflow(browser& view, unsigned width)
    {
        EXPECT_LE(view.value("document.documentElement.scrollWidth").get<unsigned>(), width);
        EXPECT_EQ(view.value("window.innerWidth").get<unsigned>(), width);
    }
};

TEST_F(PageInChromium, ShowsTheDemoAlsoOnATelephone)
{
    browser view(folder);
    running program(folder, {"--demo", "--http", "0"});
    const auto port = program.port();
    ASSERT_TRUE(support::eventually([&] { return monitor_runs::is_ready(port); }));
    view.open(page_at(port), 1000, 380);
    ASSERT_TRUE(view.shows(names_of_rows + ".length === 6"));
    const json names{"Distribution, T2-MI", "Film, PMT pauses", "Music, damaged", "News",
                     "Night, silent",       "Sport, lossy RTP"};
    EXPECT_EQ(view.value(names_of_rows), names);
    EXPECT_TRUE(view.shows(is_in_state("Night, silent", "silent")));
    EXPECT_TRUE(view.shows("!['waiting', 'silent', 'closed'].includes(" + light_of("News") + ".textContent)"));
    EXPECT_TRUE(view.shows("document.getElementById('summary').textContent.startsWith('6 streams: ')"));
    if (const char* const file = std::getenv("ZQ_PICTURE")) {
        ASSERT_TRUE(view.shows(is_in_state("Music, damaged", "bad") + " && " + is_in_state("Film, PMT pauses", "bad") +
                               " && document.querySelector('.spark polyline').points.length > 50"));
        std::ofstream(file, std::ios::binary) << view.picture();
    }

    view.open(page_at(port), 360, 740, true);
    ASSERT_TRUE(view.shows(names_of_rows + ".length === 6"));
    EXPECT_TRUE(view.shows(is_in_state("Night, silent", "silent")));
    expect_no_overflow(view, 360);
    for (const auto* path : {"/stream/News", "/stream/Distribution%2C%20T2-MI"}) {
        view.open(page_at(port, path), 360, 740, true);
        ASSERT_TRUE(view.shows("document.querySelectorAll('.check').length > 20"));
        expect_no_overflow(view, 360);
    }
    EXPECT_TRUE(view.shows("document.body.innerText.includes('PLPs')"));
    EXPECT_THAT(view.complaints(), testing::IsEmpty());
    EXPECT_EQ(program.end(), 0);
}

TEST_F(PageInChromium, AStreamTurnsRedAndGoodAgainWithoutAReload)
{
    std::atomic<bool> is_damaged{false};
    monitor::player played;
    const auto stream = played.add(std::make_unique<damaged_at_will>("One", is_damaged));
    browser view(folder);
    // Whatever the machine does to the times of the packets, only a loss is an error.
    std::ofstream(folder / "list.toml") << monitor_runs::entry("A", stream) << "limits = { SI_is_expected = false, "
                                        << "input_loss = 0, PAT = 0, PMT = 0, PID = 0, PCR_repetition = 0, PCR_step = "
                                           "0, PTS_repetition = 0, CAT = 0 }\n";
    running program(folder, {"--hold-off", "1", "--http", "0", "--streams", "list.toml"});
    played.start();
    const auto port = program.port();
    ASSERT_TRUE(support::eventually([&] { return monitor_runs::is_ready(port); }));
    view.open(page_at(port), 800, 600);
    ASSERT_TRUE(view.shows(is_in_state("A", "good")));
    EXPECT_EQ(view.value("window.stays = 1"), 1);
    is_damaged = true;
    EXPECT_TRUE(view.shows(is_in_state("A", "bad") + " && getComputedStyle(" + light_of("A") +
                           ").backgroundColor === 'rgb(207, 47, 47)'"));
    is_damaged = false;
    EXPECT_TRUE(view.shows(is_in_state("A", "good")));
    EXPECT_EQ(view.value("window.stays"), 1);

    view.open(page_at(port, "/stream/A"), 800, 600);
    ASSERT_TRUE(view.shows("document.querySelector('h1 .light').textContent === 'good'"));
    EXPECT_EQ(view.value("window.stays = 1"), 1);
    is_damaged = true;
    const std::string failing =
        "[...document.querySelectorAll('.check')].some((check) => "
        "check.textContent.startsWith('1.4 Continuity_count_error') && !/error0 in/.test(check.textContent))";
    EXPECT_TRUE(view.shows(failing));
    EXPECT_EQ(view.value("window.stays"), 1);
    EXPECT_THAT(view.complaints(), testing::IsEmpty());
    EXPECT_EQ(program.end(), 0);
}

TEST_F(PageInChromium, AStreamHasChartsAndATimeLineAndTellsItsStateWhileTextIsMarked)
{
    std::atomic<bool> is_damaged{false};
    monitor::player played;
    const auto stream = played.add(std::make_unique<damaged_at_will>("One", is_damaged));
    browser view(folder);
    running program(folder, {"--http", "0", "A=" + monitor_runs::on_port(stream)});
    played.start();
    const auto port = program.port();
    ASSERT_TRUE(support::eventually([&] { return monitor_runs::is_ready(port); }));
    view.open(page_at(port, "/stream/A"), 800, 600);
    EXPECT_TRUE(view.shows("document.querySelectorAll('.charts figure polyline').length > 3"));
    // One point of it is as wide as ten seconds are, and the newest is at the right edge.
    EXPECT_EQ(view.value("[...document.querySelectorAll('.charts polyline')].every((line) => line.getBBox().width >= "
                         "10 && line.points[line.points.length - 1].x === 600)"),
              true);
    EXPECT_EQ(view.value("((points) => points[0].x === 601 - points.length && points[points.length - 1].x === 600)"
                         "(document.querySelector('#overview .chart polyline').points)"),
              true);
    // A command of five minutes ago, for eight seconds later.
    EXPECT_EQ(view.value("timeLine({time: '2026-01-31T12:00:00Z', splices: [{time: '2026-01-31T11:55:00Z', command: "
                         "'<b>', pid: 300, ahead_seconds: 8}]})[0].querySelector('circle').getAttribute('cx')"),
              "308");
    (void)view.value("getSelection().selectAllChildren(document.querySelector('#details h2'))");
    is_damaged = true;
    EXPECT_TRUE(view.shows("document.querySelector('h1 .light').textContent === 'bad'"));
    EXPECT_TRUE(view.shows("document.body.innerText.includes('wait while text is marked')"));
    (void)view.value("getSelection().removeAllRanges()");
    EXPECT_TRUE(view.shows("!document.body.innerText.includes('wait while text is marked')"));
    EXPECT_THAT(view.complaints(), testing::IsEmpty());
    EXPECT_EQ(program.end(), 0);
}

TEST_F(PageInChromium, ChartsOfPIDsHaveTheirPointsByAgeAndTellTheHighest)
{
    browser view(folder);
    running program(folder, {"--http", "0", "A=" + monitor_runs::on_port(support::free_port())});
    const auto port = program.port();
    ASSERT_TRUE(support::eventually([&] { return monitor_runs::is_ready(port); }));
    view.open(page_at(port, "/stream/A"), 800, 600);
    ASSERT_TRUE(view.shows("document.querySelectorAll('.check').length > 20"));
    // One that came ten seconds ago, one that has been there for long, one with more points than there is room for.
    EXPECT_EQ(view.value("[...rateCharts({pids: [{pid: 256, kind: 'video', bit_rate: 7e6}, {pid: 257, kind: 'audio', "
                         "bit_rate: 3e4}, {pid: 258, kind: 'data', bit_rate: 1}], pid_rates: {seconds: 10, pids: "
                         "[{pid: 258, rates: Array(70).fill(1)}, {pid: 257, rates: [3e4, 15e3, 0]}, "
                         "{pid: 256, rates: [8e6]}]}}).children].map((figure) => [figure.textContent, "
                         "figure.querySelector('polyline').getAttribute('points').split(' ').slice(0, 4)])"),
              json::array({json::array({"0x0100 videohighest 8.00 Mbit/snow 7.00 Mbit/s10 min agonow",
                                        json{"590.0,1.0", "600.0,1.0"}}),
                           json::array({"0x0101 audiohighest 30.00 kbit/snow 30.00 kbit/s10 min agonow",
                                        json{"570.0,1.0", "580.0,1.0", "590.0,50.0", "600.0,99.0"}}),
                           json::array({"0x0102 datahighest 1 bit/snow 1 bit/s10 min agonow",
                                        json{"0.0,1.0", "10.0,1.0", "20.0,1.0", "30.0,1.0"}})}));
    EXPECT_THAT(view.complaints(), testing::IsEmpty());
    EXPECT_EQ(program.end(), 0);
}

TEST_F(PageInChromium, AStreamTellsOfItselfAsAWhole)
{
    const std::atomic<bool> is_damaged{false};
    monitor::player played;
    const auto stream = played.add(std::make_unique<damaged_at_will>("One", is_damaged));
    browser view(folder);
    std::ofstream(folder / "list.toml") << monitor_runs::entry("A", stream) << "labels = { site = \"<b>north</b>\" }\n"
                                        << monitor_runs::entry("B", support::free_port());
    running program(folder, {"--http", "0", "--streams", "list.toml"});
    played.start();
    const auto port = program.port();
    ASSERT_TRUE(support::eventually([&] { return monitor_runs::is_ready(port); }));
    const auto told = [](const std::string& name) {
        return "[...document.querySelectorAll('#overview dt')].find((dt) => dt.textContent === '" + name +
               "').nextSibling.textContent";
    };
    view.open(page_at(port, "/stream/A"), 800, 600);
    EXPECT_TRUE(view.shows("/^0\\.\\d s ago$/.test(" + told("last datagram") + ")"));
    EXPECT_TRUE(view.shows("/^[1-9]\\d?\\.\\d %$/.test(" + told("null share") + ")"));
    EXPECT_TRUE(view.shows(told("transport stream id") + " === '1'"));
    EXPECT_TRUE(view.shows(told("scrambled packets") + " === '0'"));
    EXPECT_TRUE(view.shows(told("synchronised") + " === 'yes'"));
    EXPECT_TRUE(view.shows(told("labels") + " === 'site <b>north</b>'"));
    view.open(page_at(port, "/stream/B"), 800, 600);
    EXPECT_TRUE(view.shows(told("last datagram") + " === 'none yet'"));
    EXPECT_TRUE(view.shows("![...document.querySelectorAll('#overview dt')].some((dt) => ['labels', 'transport stream "
                           "id'].includes(dt.textContent))"));
    EXPECT_THAT(view.complaints(), testing::IsEmpty());
    EXPECT_EQ(program.end(), 0);
}

TEST_F(PageInChromium, AClickOnAHeadSortsTheListByItAndAnotherTurnsItAround)
{
    const std::atomic<bool> is_damaged{false};
    monitor::player played;
    const auto stream = played.add(std::make_unique<damaged_at_will>("One", is_damaged));
    browser view(folder);
    running program(folder, {"--http", "0", "C2=" + monitor_runs::on_port(stream),
                             "C10=" + monitor_runs::on_port(support::free_port()), "a=udp://192.0.2.1:5000"});
    played.start();
    const auto port = program.port();
    ASSERT_TRUE(support::eventually([&] { return monitor_runs::is_ready(port); }));
    view.open(page_at(port), 800, 600);
    ASSERT_TRUE(view.shows(is_in_state("a", "closed") + " && " + is_in_state("C10", "silent") + " && !['waiting', " +
                           "'silent'].includes(" + light_of("C2") + ".textContent)"));
    const auto head = [](const std::string& title) {
        return "[...document.querySelectorAll('.list th button')].find((button) => button.textContent === '" + title +
               "')";
    };
    const auto is_sorted = [&](const std::string& title, const std::string& direction, const json& names) {
        return view.shows(head(title) + ".parentNode.ariaSort === '" + direction +
                          "' && document.querySelectorAll('th:not([aria-sort=none])').length === 1 && "
                          "JSON.stringify(" +
                          names_of_rows + ") === '" + names.dump() + "'");
    };
    EXPECT_TRUE(is_sorted("Stream", "ascending", {"a", "C2", "C10"})); // numbers by their value
    view.click(head("Stream"));
    EXPECT_TRUE(is_sorted("Stream", "descending", {"C10", "C2", "a"}));
    view.click(head("Stream"));
    EXPECT_TRUE(is_sorted("Stream", "ascending", {"a", "C2", "C10"}));
    view.click(head("Bit rate"));
    EXPECT_TRUE(is_sorted("Bit rate", "ascending", {"a", "C10", "C2"})); // those alike by their names
    view.click(head("Bit rate"));
    EXPECT_TRUE(is_sorted("Bit rate", "descending", {"C2", "a", "C10"}));
    view.click(head("State"));
    EXPECT_TRUE(is_sorted("State", "ascending", {"a", "C10", "C2"})); // the worst first
    EXPECT_THAT(view.complaints(), testing::IsEmpty());
    EXPECT_EQ(program.end(), 0);
}

TEST_F(PageInChromium, AServiceCalledLikeMarkupStandsAsText)
{
    const std::string name = "<script>document.title='taken'</script><img src=x>";
    const std::atomic<bool> is_damaged{false};
    monitor::player played;
    const auto stream = played.add(std::make_unique<damaged_at_will>(name, is_damaged));
    browser view(folder);
    running program(folder, {"--http", "0", "<b>A</b>=" + monitor_runs::on_port(stream)});
    played.start();
    const auto port = program.port();
    ASSERT_TRUE(support::eventually([&] { return monitor_runs::is_ready(port); }));
    view.open(page_at(port), 800, 600);
    const json as_text = name;
    ASSERT_TRUE(view.shows("document.querySelector('.list tbody tr').cells[6].textContent === " + as_text.dump()));
    EXPECT_EQ(view.value(names_of_rows), json{"<b>A</b>"});
    EXPECT_EQ(view.value("document.querySelectorAll('main script, main img, main b').length"), 0);
    EXPECT_EQ(view.value("document.title"), "zq-monitor");
    (void)view.value("document.querySelector('.list a').click()");
    ASSERT_TRUE(view.shows("document.title === '<b>A</b> - zq-monitor' && document.body.innerText.includes(" +
                           as_text.dump() + ")"));
    EXPECT_EQ(view.value("document.querySelectorAll('main script, main img, main b').length"), 0);
    EXPECT_THAT(view.complaints(), testing::IsEmpty());
    EXPECT_EQ(program.end(), 0);
}
} // namespace page_in_chromium_test
