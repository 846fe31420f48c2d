// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/net_sandbox.h"

#include <gmock/gmock.h>

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests))
        support::enter_net_sandbox();
    return RUN_ALL_TESTS();
}
