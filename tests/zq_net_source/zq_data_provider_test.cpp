// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_data_provider.h"

#include "support/element.h"
#include "support/udp_sender.h"
#include "zq_net_source/zq_net_buffer_pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zq_data_provider_test
{
using support::pattern;
using testing::ElementsAre;

std::shared_ptr<GstBufferPool> active_pool(GstBufferPool* pool, guint size)
{
    GstStructure* config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, nullptr, size, 2, 10);
    gst_buffer_pool_set_config(pool, config);
    gst_buffer_pool_set_active(pool, TRUE);
    return {pool, [](GstBufferPool* used) {
                gst_buffer_pool_set_active(used, FALSE);
                gst_object_unref(used);
            }};
}

std::size_t free_buffers(GstBufferPool* pool)
{
    std::vector<zq_buffer_pointer> taken;
    GstBufferPoolAcquireParams no_wait{};
    no_wait.flags = GST_BUFFER_POOL_ACQUIRE_FLAG_DONTWAIT;
    for (GstBuffer* buffer = nullptr; gst_buffer_pool_acquire_buffer(pool, &buffer, &no_wait) == GST_FLOW_OK;)
        taken.emplace_back(buffer);
    return taken.size();
}

/// A provider on a pad whose other end answers every buffer with `flow`.
class providing
{
public:
    explicit providing(std::shared_ptr<GstBufferPool> pool = create_net_buffer_pool(0, 0, 0))
        : m_sink{[this](GstBuffer* buffer) {
              if (keep != nullptr)
                  keep->emplace_back(gst_buffer_ref(buffer));
              return flow;
          }},
          m_pad{make_pad()},
          recorder{m_pad.pad.get()},
          provider{m_pad, std::move(pool), m_statistics}
    {
        gst_pad_link(m_pad.pad.get(), m_sink.pad());
        gst_pad_set_active(m_pad.pad.get(), TRUE);
        gst_pad_push_event(m_pad.pad.get(), gst_event_new_stream_start("test"));
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_pad_push_event(m_pad.pad.get(), gst_event_new_segment(&segment));
    }

    bool push(std::uint64_t time, std::vector<unsigned char> data, bool whole = true)
    {
        return provider.push_data(time, data.data(), data.size(), whole);
    }

    std::string last_error() const { return m_statistics.get_items()[3].second; }
    GstPad* pad() const { return m_pad.pad.get(); }

    GstFlowReturn flow = GST_FLOW_OK;
    std::vector<zq_buffer_pointer>* keep = nullptr; ///< where downstream holds on to buffers, if it does

private:
    static zq_net_pad make_pad()
    {
        return {zq_pad_pointer{GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC)))}};
    }

    support::test_sink m_sink;
    zq_net_pad m_pad;
    zq_net_statistics m_statistics;

public:
    support::recorder recorder;
    zq_data_provider provider;
};

// A pool of buffers whose memory nobody may write: mapping them for writing fails.
struct readonly_pool
{
    GstBufferPool parent;
};
struct readonly_poolClass
{
    GstBufferPoolClass parent_class;
};
G_DEFINE_TYPE(readonly_pool, readonly_pool, GST_TYPE_BUFFER_POOL)
void readonly_pool_init(readonly_pool*) {}
void readonly_pool_class_init(readonly_poolClass* pool_class)
{
    GST_BUFFER_POOL_CLASS(pool_class)->alloc_buffer = [](GstBufferPool*, GstBuffer** buffer,
                                                         GstBufferPoolAcquireParams*) {
        static unsigned char bytes[8192];
        *buffer = gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, bytes, sizeof(bytes), 0, sizeof(bytes), nullptr,
                                              nullptr);
        return GST_FLOW_OK;
    };
}

TEST(DataProvider, WithoutAPoolDropsTheDataAndSaysSo)
{
    providing stand{nullptr};
    EXPECT_FALSE(stand.push(0, pattern(1316)));
    EXPECT_EQ(stand.last_error(), "No free buffers in the buffer pool");
    EXPECT_FALSE(stand.push(0, pattern(1316)));
    EXPECT_EQ(stand.recorder.count(), 0U);
}

TEST(DataProvider, PushesADatagramOf1316BytesAtOnce)
{
    providing stand;
    EXPECT_TRUE(stand.push(77, pattern(1316)));
    const auto buffers = stand.recorder.buffers();
    ASSERT_EQ(buffers.size(), 1U);
    EXPECT_EQ(buffers[0].bytes, pattern(1316));
    EXPECT_EQ(buffers[0].pts, 77U);
    EXPECT_EQ(buffers[0].dts, 77U);
    EXPECT_EQ(buffers[0].duration, GST_CLOCK_TIME_NONE);
    EXPECT_EQ(buffers[0].offset, 0U);
    EXPECT_EQ(buffers[0].offset_end, 1316U);
    EXPECT_TRUE(buffers[0].live);
}

TEST(DataProvider, GathersTwoDatagramsOf1000BytesInOneBuffer)
{
    providing stand;
    EXPECT_TRUE(stand.push(1, pattern(1000, 1)));
    EXPECT_EQ(stand.recorder.count(), 0U);
    EXPECT_TRUE(stand.push(2, pattern(1000, 2)));
    EXPECT_TRUE(stand.push(3, pattern(1316, 3)));
    const auto buffers = stand.recorder.buffers();
    ASSERT_EQ(buffers.size(), 2U);
    auto both = pattern(1000, 1);
    const auto second = pattern(1000, 2);
    both.insert(both.end(), second.begin(), second.end());
    EXPECT_EQ(buffers[0].bytes, both);
    EXPECT_EQ(buffers[0].pts, 1U) << "the time is that of the datagram that opened the buffer";
    EXPECT_EQ(buffers[0].offset, 0U);
    EXPECT_EQ(buffers[0].offset_end, 1316U);
    EXPECT_EQ(buffers[1].offset, 1316U);
    EXPECT_EQ(buffers[1].offset_end, 2632U);
}

TEST(DataProvider, PushesEverySeventhDatagramOf188Bytes)
{
    providing stand;
    for (unsigned i = 0; i < 14; ++i) {
        EXPECT_EQ(stand.recorder.count(), i / 7);
        stand.push(i, pattern(188, i));
    }
    const auto buffers = stand.recorder.buffers();
    ASSERT_EQ(buffers.size(), 2U);
    EXPECT_EQ(buffers[0].bytes.size(), 1316U);
    EXPECT_EQ(buffers[1].pts, 7U);
}

TEST(DataProvider, PutsASyncByteBeforeEachPacketOf187Bytes)
{
    providing stand;
    for (unsigned i = 0; i < 7; ++i)
        EXPECT_TRUE(stand.push(5, std::vector<unsigned char>(187, static_cast<unsigned char>(i)), false));
    const auto bytes = stand.recorder.bytes();
    ASSERT_EQ(bytes.size(), 1316U);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        ASSERT_EQ(bytes[i], i % 188 == 0 ? 0x47 : i / 188) << i;
}

TEST(DataProvider, TakesAtMost188BytesOfAPacket)
{
    providing stand;
    for (unsigned i = 0; i < 7; ++i)
        stand.push(5, pattern(400, i), false);
    EXPECT_EQ(stand.recorder.bytes().size(), 7U * 189);
}

TEST(DataProvider, RecordsARefusedPushWithItsNumberAndGoesOn)
{
    providing stand;
    for (const auto flow : {GST_FLOW_FLUSHING, GST_FLOW_EOS, GST_FLOW_NOT_LINKED, GST_FLOW_ERROR}) {
        stand.flow = flow;
        EXPECT_TRUE(stand.push(1, pattern(1316)));
        EXPECT_EQ(stand.last_error(), "Can't push buffer, err = " + std::to_string(flow));
    }
    stand.flow = GST_FLOW_OK;
    EXPECT_TRUE(stand.push(2, pattern(1316, 9)));
    const auto buffers = stand.recorder.buffers();
    ASSERT_EQ(buffers.size(), 5U);
    EXPECT_EQ(buffers[4].bytes, pattern(1316, 9));
    EXPECT_EQ(buffers[4].offset, 4U * 1316);
}

TEST(DataProvider, RecordsAPushIntoAFlushingPad)
{
    providing stand;
    gst_pad_set_active(stand.pad(), FALSE);
    EXPECT_TRUE(stand.push(1, pattern(1316)));
    EXPECT_EQ(stand.last_error(), "Can't push buffer, err = -2");
}

TEST(DataProvider, MovesOnInALargerBufferWhenDownstreamsIsTooSmall)
{
    providing stand{active_pool(gst_buffer_pool_new(), 1500)};
    EXPECT_TRUE(stand.push(11, pattern(1000, 1)));
    EXPECT_TRUE(stand.push(12, pattern(64000, 2)));
    EXPECT_TRUE(stand.push(13, pattern(1400, 3)));
    auto both = pattern(1000, 1);
    const auto second = pattern(64000, 2);
    both.insert(both.end(), second.begin(), second.end());
    const auto buffers = stand.recorder.buffers();
    ASSERT_EQ(buffers.size(), 2U);
    EXPECT_EQ(buffers[0].bytes, both);
    EXPECT_EQ(buffers[0].pts, 11U);
    EXPECT_EQ(buffers[0].dts, 11U);
    EXPECT_EQ(buffers[0].duration, GST_CLOCK_TIME_NONE);
    EXPECT_EQ(buffers[0].offset, 0U);
    EXPECT_EQ(buffers[0].offset_end, 1316U);
    EXPECT_TRUE(buffers[0].live);
    EXPECT_EQ(buffers[1].bytes, pattern(1400, 3));
    EXPECT_EQ(buffers[1].offset, 1316U);
    EXPECT_EQ(stand.last_error(), "");
}

TEST(DataProvider, CountsALargerBufferAgainstThePoolItReplaces)
{
    std::vector<zq_buffer_pointer> kept;
    const auto pool = active_pool(gst_buffer_pool_new(), 1316);
    {
        providing stand{pool};
        stand.keep = &kept;
        stand.push(1, pattern(64000));
        ASSERT_EQ(kept.size(), 1U);
        EXPECT_EQ(free_buffers(pool.get()), 9U);
        kept.clear();
        EXPECT_EQ(free_buffers(pool.get()), 10U);
    }
}

TEST(DataProvider, GoesOnWithTheReserveWhenDownstreamHoldsAllOfThePool)
{
    std::vector<zq_buffer_pointer> kept;
    providing stand{active_pool(gst_buffer_pool_new(), 1316)};
    stand.keep = &kept;
    for (unsigned i = 0; i < 300; ++i)
        EXPECT_TRUE(stand.push(i, pattern(1316 + i % 2 * 10000, i)));
    const auto buffers = stand.recorder.buffers();
    ASSERT_EQ(buffers.size(), 300U);
    for (unsigned i = 0; i < 300; ++i) {
        EXPECT_EQ(buffers[i].bytes, pattern(1316 + i % 2 * 10000, i));
        EXPECT_EQ(buffers[i].pts, i);
        EXPECT_EQ(buffers[i].offset, i * 1316U);
    }
    EXPECT_EQ(stand.last_error(), "");
}

TEST(DataProvider, FillsABufferThatFitsToTheLastByte)
{
    providing stand{active_pool(gst_buffer_pool_new(), 1316)};
    EXPECT_TRUE(stand.push(1, pattern(658, 1)));
    EXPECT_TRUE(stand.push(2, pattern(658, 2)));
    EXPECT_EQ(stand.recorder.bytes().size(), 1316U);
}

TEST(DataProvider, UsesABufferOfItsOwnWhenDownstreamsCannotBeWritten)
{
    providing stand{active_pool(GST_BUFFER_POOL(g_object_new(readonly_pool_get_type(), nullptr)), 8192)};
    EXPECT_TRUE(stand.push(3, pattern(1316, 1)));
    EXPECT_TRUE(stand.push(4, pattern(1316, 2)));
    const auto buffers = stand.recorder.buffers();
    ASSERT_EQ(buffers.size(), 2U);
    EXPECT_EQ(buffers[0].bytes, pattern(1316, 1));
    EXPECT_EQ(buffers[0].pts, 3U);
    EXPECT_EQ(buffers[1].bytes, pattern(1316, 2));
    EXPECT_EQ(buffers[1].offset, 1316U);
}

TEST(DataProvider, GivesAPartlyFilledBufferBackToThePoolWhenItEnds)
{
    const auto pool = create_net_buffer_pool(0, 1, 1);
    {
        providing stand{pool};
        stand.push(1, pattern(188));
        EXPECT_EQ(stand.recorder.count(), 0U);
    }
    GstBuffer* buffer = nullptr;
    GstBufferPoolAcquireParams no_wait{};
    no_wait.flags = GST_BUFFER_POOL_ACQUIRE_FLAG_DONTWAIT;
    EXPECT_EQ(gst_buffer_pool_acquire_buffer(pool.get(), &buffer, &no_wait), GST_FLOW_OK);
    gst_buffer_unref(buffer);
}

TEST(DataProvider, StartsItsOffsetsAtZeroEachTime)
{
    for (int run = 0; run < 2; ++run) {
        providing stand;
        stand.push(1, pattern(1316));
        EXPECT_EQ(stand.recorder.buffers().at(0).offset, 0U);
    }
}

TEST(DataProvider, KeepsEveryByteOfDatagramsOfAnySize)
{
    providing stand{active_pool(gst_buffer_pool_new(), 2000)};
    std::vector<unsigned char> sent;
    unsigned size = 1;
    for (unsigned i = 0; i < 200; ++i, size = size * 5 % 4099) {
        const auto datagram = pattern(size, i);
        sent.insert(sent.end(), datagram.begin(), datagram.end());
        stand.push(i, datagram);
    }
    stand.push(200, pattern(1316));
    const auto received = stand.recorder.bytes();
    ASSERT_GE(received.size(), sent.size());
    EXPECT_TRUE(std::equal(sent.begin(), sent.end(), received.begin()));
}
} // namespace zq_data_provider_test
