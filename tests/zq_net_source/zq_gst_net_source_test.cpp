// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_gst_net_source.h"

#include "support/element.h"
#include "zq_net_source/zq_net_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zq_gst_net_source_test
{
GParamSpec* parameter(const char* name)
{
    const auto source = support::make_source();
    return g_object_class_find_property(G_OBJECT_GET_CLASS(source.get()), name);
}

constexpr auto static_strings = G_PARAM_STATIC_NAME | G_PARAM_STATIC_NICK | G_PARAM_STATIC_BLURB;

void expect_texts(GParamSpec* param, const char* nick, const char* blurb)
{
    EXPECT_STREQ(g_param_spec_get_nick(param), nick);
    EXPECT_STREQ(g_param_spec_get_blurb(param), blurb);
}

TEST(ElementClass, HasTheStatedMetadata)
{
    const auto source = support::make_source();
    GstElementClass* element_class = GST_ELEMENT_GET_CLASS(source.get());
    EXPECT_STREQ(gst_element_class_get_metadata(element_class, GST_ELEMENT_METADATA_LONGNAME), "zqnetsource");
    EXPECT_STREQ(gst_element_class_get_metadata(element_class, GST_ELEMENT_METADATA_KLASS),
                 "Quillmark PRXXX ASI Capture");
    EXPECT_STREQ(gst_element_class_get_metadata(element_class, GST_ELEMENT_METADATA_DESCRIPTION),
                 "Capture for quillmark board");
}

TEST(ElementClass, IsAStaticTypeOfTheStatedName)
{
    EXPECT_STREQ(g_type_name(gst_zqnetsource_get_type()), "GstZqNetSourceType");
    EXPECT_EQ(g_type_parent(gst_zqnetsource_get_type()), GST_TYPE_ELEMENT);
    GTypeQuery query{};
    g_type_query(gst_zqnetsource_get_type(), &query);
    EXPECT_EQ(query.instance_size, sizeof(GstElement) + sizeof(void*));
    EXPECT_EQ(query.class_size, sizeof(GstElementClass));
}

TEST(ElementClass, HasOneAlwaysPresentSourcePadTemplate)
{
    const auto source = support::make_source();
    GList* templates = gst_element_class_get_pad_template_list(GST_ELEMENT_GET_CLASS(source.get()));
    ASSERT_EQ(g_list_length(templates), 1U);
    auto* const pad_template = static_cast<GstPadTemplate*>(templates->data);
    EXPECT_STREQ(GST_PAD_TEMPLATE_NAME_TEMPLATE(pad_template), "src_net");
    EXPECT_EQ(GST_PAD_TEMPLATE_DIRECTION(pad_template), GST_PAD_SRC);
    EXPECT_EQ(GST_PAD_TEMPLATE_PRESENCE(pad_template), GST_PAD_ALWAYS);
    const zq_caps_pointer caps{gst_pad_template_get_caps(pad_template)};
    const zq_text_pointer text{gst_caps_to_string(caps.get())};
    EXPECT_STREQ(text.get(), "video/mpegts");
}

TEST(ElementClass, IsASourceForItsBin)
{
    const auto source = support::make_source();
    EXPECT_TRUE(GST_OBJECT_FLAG_IS_SET(source.get(), GST_ELEMENT_FLAG_SOURCE));
}

TEST(Properties, OfTextAreReadableWritableWithStaticStrings)
{
    for (const auto& [name, title] : {std::pair{"address", "Address"}, std::pair{"interface", "Interface"}}) {
        GParamSpec* param = parameter(name);
        ASSERT_TRUE(G_IS_PARAM_SPEC_STRING(param));
        expect_texts(param, title, title);
        EXPECT_STREQ(G_PARAM_SPEC_STRING(param)->default_value, "");
        EXPECT_EQ(static_cast<int>(param->flags), G_PARAM_READWRITE | static_strings);
    }
}

TEST(Properties, PortIsAnUnsignedIntUpTo65535)
{
    GParamSpec* param = parameter("port");
    ASSERT_TRUE(G_IS_PARAM_SPEC_UINT(param));
    expect_texts(param, "Port", "Port");
    EXPECT_EQ(G_PARAM_SPEC_UINT(param)->minimum, 0U);
    EXPECT_EQ(G_PARAM_SPEC_UINT(param)->maximum, 65535U);
    EXPECT_EQ(G_PARAM_SPEC_UINT(param)->default_value, 20000U);
    EXPECT_EQ(static_cast<int>(param->flags), G_PARAM_READWRITE | static_strings);
}

TEST(Properties, InputTypeAndPlpAreIntsWithoutStaticStrings)
{
    GParamSpec* type = parameter("input_type");
    ASSERT_TRUE(G_IS_PARAM_SPEC_INT(type));
    expect_texts(type, "Input type", "Input stream type 0 - TS, 1 - T2MI");
    EXPECT_EQ(G_PARAM_SPEC_INT(type)->maximum, 1);
    EXPECT_EQ(static_cast<int>(type->flags) & ~G_PARAM_STATIC_NAME, G_PARAM_READWRITE);
    GParamSpec* plp = parameter("plp");
    ASSERT_TRUE(G_IS_PARAM_SPEC_INT(plp));
    expect_texts(plp, "plp", "Index PLP");
    EXPECT_EQ(G_PARAM_SPEC_INT(plp)->maximum, 255);
    EXPECT_EQ(static_cast<int>(plp->flags) & ~G_PARAM_STATIC_NAME, G_PARAM_READWRITE);
}

TEST(Properties, StatisticsIsAReadOnlyPointer)
{
    GParamSpec* param = parameter("statistics");
    ASSERT_TRUE(G_IS_PARAM_SPEC_POINTER(param));
    expect_texts(param, "statistics", "Network source statistics");
    EXPECT_EQ(static_cast<int>(param->flags) & ~G_PARAM_STATIC_NAME, G_PARAM_READABLE);
}

TEST(Properties, HaveTheIdsOfTheirOrder)
{
    const char* const names[] = {"address", "port", "interface", "input_type", "plp", "statistics"};
    for (guint i = 0; i < 6; ++i)
        EXPECT_EQ(parameter(names[i])->param_id, i + 1) << names[i];
}

TEST(Properties, OfAFreshElementReadZeroAndEmpty)
{
    const auto source = support::make_source();
    gchar *address = nullptr, *interface = nullptr;
    guint port = 1;
    gint type = 1, plp = 1;
    g_object_get(source.get(), "address", &address, "interface", &interface, "port", &port, "input_type", &type, "plp",
                 &plp, nullptr);
    const zq_text_pointer held_address{address}, held_interface{interface};
    EXPECT_STREQ(address, "");
    EXPECT_STREQ(interface, "");
    EXPECT_EQ(port, 0U);
    EXPECT_EQ(type, 0);
    EXPECT_EQ(plp, 0);
}

TEST(Properties, ReadBackWhatWasSet)
{
    const auto source = support::make_source();
    g_object_set(source.get(), "address", "239.1.2.3", "port", 5000U, "interface", "127.0.0.1", "input_type", 1, "plp",
                 255, nullptr);
    gchar *address = nullptr, *interface = nullptr;
    guint port = 0;
    gint type = 0, plp = 0;
    g_object_get(source.get(), "address", &address, "interface", &interface, "port", &port, "input_type", &type, "plp",
                 &plp, nullptr);
    const zq_text_pointer held_address{address}, held_interface{interface};
    EXPECT_STREQ(address, "239.1.2.3");
    EXPECT_STREQ(interface, "127.0.0.1");
    EXPECT_EQ(port, 5000U);
    EXPECT_EQ(type, 1);
    EXPECT_EQ(plp, 255);
}

TEST(Properties, OutOfRangeAreRefused)
{
    const auto source = support::make_source();
    support::set_port(source, 1234);
    const auto lines = support::logged_by([&] {
        g_object_set(source.get(), "port", 65536U, nullptr);
        g_object_set(source.get(), "plp", 256, nullptr);
        g_object_set(source.get(), "input_type", 2, nullptr);
    });
    EXPECT_THAT(lines, testing::AllOf(testing::SizeIs(3), testing::Each(testing::HasSubstr("out of range"))));
    guint port = 0;
    gint type = 1, plp = 1;
    g_object_get(source.get(), "port", &port, "input_type", &type, "plp", &plp, nullptr);
    EXPECT_EQ(port, 1234U);
    EXPECT_EQ(type, 0);
    EXPECT_EQ(plp, 0);
}

TEST(Properties, KeepTheirTextWhenGivenNull)
{
    const auto source = support::make_source();
    g_object_set(source.get(), "address", "239.1.2.3", nullptr);
    g_object_set(source.get(), "address", static_cast<const char*>(nullptr), nullptr);
    gchar* address = nullptr;
    g_object_get(source.get(), "address", &address, nullptr);
    const zq_text_pointer held{address};
    EXPECT_STREQ(address, "239.1.2.3");
}

TEST(Properties, WarnAboutANullText)
{
    std::vector<std::string> warnings;
    const GstLogFunction note = [](GstDebugCategory* category, GstDebugLevel level, const gchar*, const gchar*, gint,
                                   GObject*, GstDebugMessage* message, gpointer lines) {
        if (category == gst_zq_net_source_debug && level == GST_LEVEL_WARNING)
            static_cast<std::vector<std::string>*>(lines)->emplace_back(gst_debug_message_get(message));
    };
    const auto source = support::make_source();
    const bool active = gst_debug_is_active() != FALSE;
    const auto threshold = gst_debug_category_get_threshold(gst_zq_net_source_debug);
    gst_debug_remove_log_function(gst_debug_log_default);
    gst_debug_set_active(TRUE);
    gst_debug_category_set_threshold(gst_zq_net_source_debug, GST_LEVEL_WARNING);
    gst_debug_add_log_function(note, &warnings, nullptr);
    g_object_set(source.get(), "address", static_cast<const char*>(nullptr), nullptr);
    g_object_set(source.get(), "interface", static_cast<const char*>(nullptr), nullptr);
    gst_debug_remove_log_function(note);
    gst_debug_category_set_threshold(gst_zq_net_source_debug, threshold);
    gst_debug_set_active(active ? TRUE : FALSE);
    gst_debug_add_log_function(gst_debug_log_default, nullptr, nullptr);
    EXPECT_THAT(warnings, testing::ElementsAre("NULL is no value for property address",
                                               "NULL is no value for property interface"));
}

TEST(Properties, StatisticsAreThereBeforeTheFirstStart)
{
    const auto source = support::make_source();
    EXPECT_EQ(support::figure(source, "System time"), "000:00:00.000");
    EXPECT_EQ(support::figure(source, "Data counter [byte]"), "0");
    EXPECT_EQ(support::figure(source, "Bit rate [bit/sec]"), "0");
    EXPECT_EQ(support::figure(source, "Last error"), "");
}

TEST(Properties, OfAnUnknownIdAreWarnedAboutWithThePlaceInTheSourceTree)
{
    const auto source = support::make_source();
    GObjectClass* object_class = G_OBJECT_GET_CLASS(source.get());
    GParamSpec* param = parameter("plp");
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_INT);
    const auto lines = support::logged_by([&] {
        object_class->set_property(G_OBJECT(source.get()), 7, &value, param);
        object_class->get_property(G_OBJECT(source.get()), 99, &value, param);
    });
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], testing::MatchesRegex("zq_net_source/zq_net_source[.a-z:0-9]*: invalid property id 7 for "
                                                "\"plp\" of type 'GParamInt' in 'GstZqNetSourceType'"));
    EXPECT_THAT(lines[1], testing::HasSubstr("invalid property id 99"));
}

TEST(ElementWithoutMemoryForItsEngine, RefusesEverythingAndCanBeReleased)
{
    const auto source = support::make_source();
    delete std::exchange(reinterpret_cast<Gstzqnetsource*>(source.get())->engine, nullptr);
    g_object_set(source.get(), "address", "239.1.2.3", "port", 5000U, nullptr);
    guint port = 1;
    g_object_get(source.get(), "port", &port, nullptr);
    EXPECT_EQ(port, 0U);
    EXPECT_EQ(support::set_state(source, GST_STATE_READY), GST_STATE_CHANGE_FAILURE);
    EXPECT_FALSE(gst_element_send_event(source.get(), gst_event_new_eos()));
}

TEST(Registration, MayBeRepeated)
{
    const GType type = gst_zqnetsource_get_type();
    GstDebugCategory* const category = gst_zq_net_source_debug;
    EXPECT_TRUE(zq_register_elements(nullptr));
    EXPECT_EQ(gst_zqnetsource_get_type(), type);
    EXPECT_EQ(gst_zq_net_source_debug, category);
    EXPECT_STREQ(gst_debug_category_get_name(category), "zqnetsource");
    EXPECT_STREQ(gst_debug_category_get_description(category), "Quillmark PRXXX ASI Capture Element");
    EXPECT_EQ(gst_debug_category_get_color(category), 0U);
}
} // namespace zq_gst_net_source_test
