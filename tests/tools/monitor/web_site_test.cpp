// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/web_site.h"

#include "surveys.h"
#include "tools/monitor/watched_stream.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <future>

namespace web_site_test
{
using monitor::web_site;
using monitor_surveys::report_of;
using monitor_surveys::survey_of;
using testing::HasSubstr;
using testing::Not;

std::shared_ptr<monitor::survey> fresh(const std::string& name)
{
    auto report = report_of(name);
    monitor_surveys::change(report).clock = monitor::moment::now().clock;
    auto all = survey_of(report);
    all->clock = monitor::moment::now().clock;
    return all;
}

TEST(WebSite, ThePageHasNothingFromElsewhereAndNoScriptOfItsOwn)
{
    web_site site({"1", 0});
    for (const auto* path : {"/", "/index.html", "/stream/News", "/stream/<script>"}) {
        const auto given = site.answer(path);
        EXPECT_EQ(given.status, 200);
        EXPECT_EQ(given.content_type, "text/html; charset=utf-8");
        EXPECT_THAT(*given.body, HasSubstr("<script src=\"/page.js\" defer></script>"));
        EXPECT_THAT(*given.body, Not(HasSubstr("alert")));
        EXPECT_THAT(*given.body, Not(testing::ContainsRegex("(src|href)=\"[a-z]+:")));
    }
    EXPECT_EQ(site.answer("/page.js").content_type, "text/javascript; charset=utf-8");
    EXPECT_EQ(site.answer("/page.css").content_type, "text/css; charset=utf-8");
    EXPECT_EQ(site.answer("/icon.svg").content_type, "image/svg+xml; charset=utf-8");
}

TEST(WebSite, ThePageMakesNoMarkupOutOfTexts)
{
    web_site site({"1", 0});
    for (const auto* way : {"innerHTML", "outerHTML", "insertAdjacentHTML", "document.write", "eval(", "new Function"})
        EXPECT_THAT(*site.answer("/page.js").body, Not(HasSubstr(way)));
}

TEST(WebSite, NothingIsKnownBeforeTheFirstLook)
{
    web_site site({"1", 0});
    EXPECT_EQ(site.answer("/api/streams").status, 503);
    EXPECT_EQ(site.answer("/metrics").status, 503);
    EXPECT_EQ(site.answer("/readyz").status, 503);
    EXPECT_EQ(site.answer("/healthz").status, 200);
}

TEST(WebSite, TellsOfAllStreamsAndOfOne)
{
    web_site site({"1", 0});
    site.publish(fresh("a/b <script>"));
    const auto all = nlohmann::json::parse(*site.answer("/api/streams").body);
    EXPECT_EQ(all["streams"][0]["name"], "a/b <script>");
    EXPECT_TRUE(all["streams"][0].contains("recent"));
    const auto one = site.answer("/api/streams/a/b <script>");
    EXPECT_EQ(one.content_type, "application/json");
    EXPECT_EQ(nlohmann::json::parse(*one.body)["name"], "a/b <script>");
}

TEST(WebSite, WhatIsNotThereIsNotFound)
{
    web_site site({"1", 0});
    site.publish(fresh("News"));
    for (const auto* path : {"/api/streams/Other", "/api/streams/", "/api", "/live/Other", "/liveNews", "/page.jsx",
                             "/../etc/passwd", "", "/api/streams/News/more"})
        EXPECT_EQ(site.answer(path).status, 404) << path;
}

TEST(WebSite, TheMetricsHaveTheTypeOfTheirFormat)
{
    web_site site({"1.2.3", 0});
    site.publish(fresh("News"));
    const auto given = site.answer("/metrics");
    EXPECT_EQ(given.content_type, "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_THAT(*given.body, HasSubstr("\nts_build_info{version=\"1.2.3\"} 1\n"));
}

TEST(WebSite, LiveGivesWhatIsKnownThenEachLookOnceThenItsEnd)
{
    web_site site({"1", 0});
    site.publish(fresh("News"));
    const auto given = site.answer("/live/News");
    ASSERT_TRUE(given.live);
    const auto first = *given.live();
    EXPECT_EQ(first.substr(0, 6), "data: ");
    EXPECT_EQ(first.substr(first.size() - 2), "\n\n");
    EXPECT_EQ(std::count(first.begin(), first.end(), '\n'), 2);
    auto next = std::async(std::launch::async, given.live);
    EXPECT_EQ(next.wait_for(std::chrono::milliseconds{20}), std::future_status::timeout);
    site.publish(fresh("News"));
    EXPECT_NE(next.get(), nullptr);
    auto last = std::async(std::launch::async, site.answer("/live").live);
    EXPECT_NE(last.get(), nullptr);
    site.end();
    EXPECT_EQ(site.answer("/live").live(), nullptr);
}

TEST(WebSite, LiveOfAStreamEndsWithTheStream)
{
    web_site site({"1", 0});
    site.publish(fresh("News"));
    const auto given = site.answer("/live/News");
    EXPECT_NE(given.live(), nullptr);
    site.publish(fresh("Other"));
    EXPECT_EQ(site.answer("/live/News").status, 404);
}

TEST(WebSite, ViewersOfTheSameSecondShareOneText)
{
    web_site site({"1", 0});
    site.publish(fresh("News"));
    EXPECT_EQ(site.answer("/live").live(), site.answer("/live").live());
    EXPECT_EQ(site.answer("/metrics").body, site.answer("/metrics").body);
}

TEST(WebSite, IsReadyWhenEveryStreamWasLookedAt)
{
    web_site site({"1", 0});
    auto all = fresh("News");
    monitor::stream_report waiting;
    waiting.settings.name = "New";
    all->streams.push_back(std::make_shared<const monitor::stream_report>(waiting));
    site.publish(all);
    EXPECT_EQ(site.answer("/readyz").status, 503);
    EXPECT_EQ(site.answer("/healthz").status, 200);
    site.publish(fresh("News"));
    EXPECT_EQ(site.answer("/readyz").status, 200);
}

TEST(WebSite, IsNotHealthyWhenAReceiverStandsStill)
{
    web_site site({"1", 0});
    auto report = report_of("News");
    monitor_surveys::change(report).clock = monitor::moment::now().clock - 11 * monitor_surveys::second;
    report.state = monitor::stream_state::waiting;
    auto all = survey_of(report);
    all->clock = monitor::moment::now().clock;
    site.publish(all);
    EXPECT_EQ(site.answer("/healthz").status, 503);
}
} // namespace web_site_test
