// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/MonitorLimits.h"
#include "mpegcore/monitor/TR101290.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <string>

namespace monitoring_test
{
using testing::HasSubstr;

std::string document()
{
    std::ifstream file(ZQ_SOURCE_DIR "/docs/monitoring.md", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(MonitoringDocument, HasARowForEachCheck)
{
    const std::string text = document();
    for (const auto& name : mpegcore::TR101290_checks)
        EXPECT_THAT(text, HasSubstr("| " + std::string(name.number) + " | " + std::string(name.name) + " |"));
}

TEST(MonitoringDocument, NamesEachLimit)
{
    const std::string text = document();
    for (const auto& limit : mpegcore::MonitorTimeLimits)
        EXPECT_THAT(text, HasSubstr("`" + std::string(limit.name) + "`"));
}
} // namespace monitoring_test
