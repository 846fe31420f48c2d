// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/net_sandbox.h"
#include "zq_mpegts/zq_gst_t2mi_demux.h"
#include "zq_mpegts/zq_gst_udp_src.h"
#include "zq_net_source/zq_gst_net_source.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) // the build lists them, without the environment that a run has
        return RUN_ALL_TESTS();
    support::enter_net_sandbox();
    gst_init(&argc, &argv);
    zq_register_udp_src(nullptr);
    zq_register_t2mi_demux(nullptr);
    zq_register_elements(nullptr);
    return RUN_ALL_TESTS();
}
