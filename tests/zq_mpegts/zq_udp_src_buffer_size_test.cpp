// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/playing_udp_src.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zq_udp_src_buffer_size_test
{
using playing = support::playing_udp_src;
using support::pattern;
using testing::EndsWith;

// Half of this is the most that the kernel gives to anybody.
const std::string too_much = "buffer-size=2147483647";

std::string warning_of(const support::message& found)
{
    GError* error = nullptr;
    gst_message_parse_warning(found.get(), &error, nullptr);
    EXPECT_TRUE(g_error_matches(error, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_SETTINGS));
    const std::string text = error->message;
    g_error_free(error);
    return text;
}

TEST(UdpSrcBufferSize, ThatIsCutIsWarnedOfWithTheCommandThatMendsIt)
{
    const playing to{too_much};
    const auto found = to.message_now(GST_MESSAGE_WARNING);
    ASSERT_TRUE(found);
    EXPECT_EQ(GST_MESSAGE_SRC(found.get()), GST_OBJECT(to.source.get()));
    EXPECT_THAT(warning_of(found), EndsWith(" bytes for the socket where 2147483647 were asked for. As root: "
                                            "sysctl -w net.core.rmem_max=2147483647"));
}

TEST(UdpSrcBufferSize, ThatIsCutIsWarnedOfOnce)
{
    for (const char* legs : {"", " address2=127.0.0.2"}) {
        playing to{too_much + legs};
        ASSERT_TRUE(to.message_now(GST_MESSAGE_WARNING));
        support::set_state(to.pipeline, GST_STATE_PAUSED);
        support::set_state(to.pipeline, GST_STATE_PLAYING);
        EXPECT_FALSE(to.message_now(GST_MESSAGE_WARNING));
    }
}

TEST(UdpSrcBufferSize, ThatTheKernelGivesIsNotWarnedOf)
{
    const playing to{"buffer-size=1"};
    EXPECT_FALSE(to.message_now(GST_MESSAGE_WARNING));
}
} // namespace zq_udp_src_buffer_size_test
