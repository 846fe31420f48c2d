// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/zqdescriptorlist.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

namespace descriptor_list_threads_test
{
using namespace mpegcore;

TEST(DescriptorListThreads, SeeTheSameDescriptorsWhoeverLooksFirst)
{
    for (int round = 0; round < 200; ++round) {
        std::vector<unsigned char> bytes{0x52, 0x01, 0x2A, 0x52, 0x01, 0x2B};
        ZQSDK::ZQBSReaderT<unsigned char*> reader(bytes.data(), bytes.size());
        ZQDescriptorList list(ZQDescriptorType::Standard);
        ASSERT_TRUE(list.read(reader));
        const ZQDescriptorList& shared = list;
        std::array<std::vector<const base_descriptor*>, 4> seen;
        std::vector<std::thread> threads;
        for (auto& descriptors : seen)
            threads.emplace_back([&shared, &descriptors] {
                for (const auto& descriptor : shared)
                    descriptors.push_back(descriptor.get());
            });
        for (auto& thread : threads)
            thread.join();
        ASSERT_EQ(seen[0].size(), 2U);
        for (const auto& descriptors : seen)
            EXPECT_EQ(descriptors, seen[0]);
    }
}
} // namespace descriptor_list_threads_test
