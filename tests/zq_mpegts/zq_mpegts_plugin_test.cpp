// SPDX-License-Identifier: LGPL-2.1-or-later
#include <gst/gst.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

namespace
{
std::string output_of(const std::string& command)
{
    std::string text;
    FILE* const pipe = ::popen(command.c_str(), "r");
    std::array<char, 256> line{};
    while (std::fgets(line.data(), line.size(), pipe) != nullptr)
        text += line.data();
    ::pclose(pipe);
    return text;
}
} // namespace

TEST(MpegTsPlugin, ExportsItsTwoEntryPointsAndNothingElse)
{
    EXPECT_EQ(output_of("nm -D --defined-only '" ZQ_PLUGIN "' | cut -d' ' -f3 | sort"),
              "gst_plugin_zqmpegts_get_desc\ngst_plugin_zqmpegts_register\n");
}

TEST(MpegTsPlugin, BringsItsElementsWithoutARank)
{
    gst_init(nullptr, nullptr);
    GstPlugin* const plugin = gst_plugin_load_file(ZQ_PLUGIN, nullptr);
    ASSERT_NE(plugin, nullptr);
    EXPECT_STREQ(gst_plugin_get_name(plugin), "zqmpegts");
    GstElementFactory* const factory = gst_element_factory_find("zqudpsrc");
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(gst_plugin_feature_get_rank(GST_PLUGIN_FEATURE(factory)), static_cast<guint>(GST_RANK_NONE));
    EXPECT_EQ(gst_element_factory_get_uri_type(factory), GST_URI_SRC);
    gst_object_unref(factory);
    GstElementFactory* const demultiplexer = gst_element_factory_find("zqt2midemux");
    ASSERT_NE(demultiplexer, nullptr);
    EXPECT_EQ(gst_plugin_feature_get_rank(GST_PLUGIN_FEATURE(demultiplexer)), static_cast<guint>(GST_RANK_NONE));
    EXPECT_STREQ(gst_element_factory_get_metadata(demultiplexer, GST_ELEMENT_METADATA_KLASS), "Codec/Demuxer");
    gst_object_unref(demultiplexer);
    gst_object_unref(plugin);
}
