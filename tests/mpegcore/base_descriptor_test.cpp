// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/descriptor_loops.h"

namespace base_descriptor_test
{
using namespace mpegcore;
using namespace zqtest;

std::shared_ptr<base_descriptor> generic(const Bytes& body)
{
    auto d = std::make_shared<base_descriptor>();
    d->descriptor_tag = 0x99;
    d->descriptor_length = static_cast<std::uint8_t>(body.size());
    d->payload.alloc(body.size(), 8);
    std::copy(body.begin(), body.end(), d->payload.data());
    return d;
}

TEST(BaseDescriptor, StartsEmpty)
{
    const auto d = base_descriptor().create();
    EXPECT_EQ(type_of(*d), typeid(base_descriptor));
    EXPECT_EQ(d->descriptor_tag, 0);
    EXPECT_EQ(d->descriptor_length, 0);
    EXPECT_EQ(d->payload.data(), nullptr);
}

TEST(BaseDescriptor, ReadsTagAndLengthAndLeavesTheBody)
{
    ExactBlock block(Bytes{0x99, 0x02, 0xAA, 0xBB});
    auto reader = block.reader();
    base_descriptor d;
    EXPECT_TRUE(d.read(reader));
    EXPECT_EQ(d.descriptor_tag, 0x99);
    EXPECT_EQ(d.descriptor_length, 2);
    EXPECT_EQ(reader.availableBytes(), 2U);
    EXPECT_EQ(d.payload.data(), nullptr);
}

TEST(BaseDescriptor, RefusesALengthThatTheDataDoNotHold)
{
    for (const Bytes& bytes : {Bytes{}, Bytes{0x99}, Bytes{0x99, 0x01}, Bytes{0x99, 0x03, 1, 2}}) {
        ExactBlock block(bytes);
        auto reader = block.reader();
        EXPECT_FALSE(base_descriptor().read(reader));
    }
}

TEST(BaseDescriptor, WritesTagLengthAndPayload)
{
    EXPECT_EQ(written(*generic({1, 2, 3})), (Bytes{0x99, 0x03, 1, 2, 3}));
    EXPECT_EQ(written(base_descriptor()), (Bytes{0x00, 0x00}));
}

TEST(BaseDescriptor, WritesNoMorePayloadThanLengthAndBufferHold)
{
    const auto d = generic({1, 2, 3});
    d->descriptor_length = 2;
    EXPECT_EQ(written(*d), (Bytes{0x99, 0x02, 1, 2}));
    d->descriptor_length = 5;
    EXPECT_EQ(written(*d), (Bytes{0x99, 0x05, 1, 2, 3}));
    d->descriptor_length = 0;
    EXPECT_EQ(written(*d), (Bytes{0x99, 0x00}));
}

TEST(BaseDescriptor, ReportsSuccessEvenWhenTheWriterIsFull)
{
    const auto d = generic({1, 2, 3});
    for (std::size_t room = 0; room <= 5; ++room) {
        ExactBlock block(room);
        {
            Writer writer(block.data(), room);
            EXPECT_TRUE(d->write(writer));
        }
        const Bytes all{0x99, 0x03, 1, 2, 3};
        EXPECT_EQ(block.bytes(room), Bytes(all.begin(), all.begin() + room));
    }
}

TEST(BaseDescriptor, CopiesItsPayloadToAnAlignedBufferOfTheTarget)
{
    const auto d = generic({1, 2, 3});
    base_descriptor copy;
    copy.payload.alloc(64, 16);
    d->copyTo(&copy);
    EXPECT_EQ(copy.payload.size(), 3U);
    EXPECT_EQ(copy.payload.alignment(), 8U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(copy.payload.data()) % 8, 0U);
    EXPECT_EQ(written(copy), written(*d));
    copy.payload.data()[0] = 0xFF;
    EXPECT_EQ(d->payload.data()[0], 1);
}

TEST(BaseDescriptor, KeepsABufferThatIsLargeEnoughForTheCopy)
{
    base_descriptor copy;
    copy.payload.alloc(64, 8);
    const unsigned char* const before = copy.payload.data();
    generic({1, 2, 3})->copyTo(&copy);
    EXPECT_EQ(copy.payload.data(), before);
    EXPECT_EQ(copy.payload.size(), 3U);
}

TEST(BaseDescriptor, FillsWhatItsPayloadLacksWithZerosInTheCopy)
{
    const auto d = generic({1, 2});
    d->descriptor_length = 4;
    base_descriptor copy;
    copy.payload.alloc(8, 8);
    std::fill_n(copy.payload.data(), 8, 0xEE);
    d->copyTo(&copy);
    EXPECT_EQ(written(copy), (Bytes{0x99, 0x04, 1, 2, 0, 0}));
}

TEST(BaseDescriptor, CopiesTagAndLengthAloneWithoutAPayload)
{
    base_descriptor d;
    d.descriptor_tag = 0x77;
    d.descriptor_length = 9;
    base_descriptor copy;
    d.copyTo(&copy);
    EXPECT_EQ(copy.descriptor_tag, 0x77);
    EXPECT_EQ(copy.descriptor_length, 9);
    EXPECT_EQ(copy.payload.data(), nullptr);
}

TEST(BaseDescriptor, CopiesToNowhereAndToItselfWithoutHarm)
{
    const auto d = generic({1, 2, 3});
    d->copyTo(nullptr);
    d->copyTo(d.get());
    EXPECT_EQ(written(*d), (Bytes{0x99, 0x03, 1, 2, 3}));
}
} // namespace base_descriptor_test
