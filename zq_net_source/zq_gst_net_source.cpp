// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_gst_net_source.h"

#include "zq_net_source/zq_net_source.h"

#include <utility>

GST_DEBUG_CATEGORY(gst_zq_net_source_debug);

static GstElementClass* parent_class = nullptr;

static zq_net_source* engine_of(gpointer object) { return static_cast<Gstzqnetsource*>(object)->engine; }

/// Runs `call` on the engine; an exception becomes the last error and `otherwise` the result. So it does for an
/// element that was made when there was no memory for its engine.
template <class Call, class Result>
static Result guarded(gpointer object, Result otherwise, const Call& call)
{
    zq_net_source* const engine = engine_of(object);
    if (engine == nullptr)
        return otherwise;
    try {
        return call(*engine);
    } catch (...) {
        engine->note_exception();
        return otherwise;
    }
}

static void gst_zq_net_source_set_property(GObject* object, guint id, const GValue* value, GParamSpec* param)
{
    guarded(object, false, [&](zq_net_source& engine) {
        engine.set_property(id, value, param);
        return true;
    });
}

static void gst_zq_net_source_get_property(GObject* object, guint id, GValue* value, GParamSpec* param)
{
    guarded(object, false, [&](zq_net_source& engine) {
        engine.get_property(id, value, param);
        return true;
    });
}

static GstStateChangeReturn gst_zq_net_source_change_state(GstElement* element, GstStateChange transition)
{
    return guarded(element, GST_STATE_CHANGE_FAILURE,
                   [&](zq_net_source& engine) { return engine.change_state(transition); });
}

static gboolean gst_zq_net_source_send_event(GstElement* element, GstEvent* event)
{
    if (engine_of(element) == nullptr) {
        gst_event_unref(event);
        return FALSE;
    }
    return guarded(element, false, [&](zq_net_source& engine) { return engine.send_event(event); }) ? TRUE : FALSE;
}

static void gst_zq_net_source_dispose(GObject* object)
{
    // Here and not only in finalize, where the element has no reference left that its pad could take.
    guarded(object, false, [](zq_net_source& engine) {
        engine.shut_down();
        return true;
    });
    G_OBJECT_CLASS(parent_class)->dispose(object);
}

static void gst_zq_net_source_finalize(GObject* object)
{
    guarded(object, false, [](zq_net_source& engine) {
        engine.stop();
        return true;
    });
    delete std::exchange(reinterpret_cast<Gstzqnetsource*>(object)->engine, nullptr);
    G_OBJECT_CLASS(parent_class)->finalize(object);
}

static void gst_zq_net_source_base_init(gpointer g_class)
{
    GstElementClass* element_class = GST_ELEMENT_CLASS(g_class);
    gst_element_class_add_static_pad_template(element_class, &zq_net_pad_template);
    // The classification is the product's title and no path of the usual kind; that is meant.
    gst_element_class_set_static_metadata(element_class, "zqnetsource", "Quillmark PRXXX ASI Capture",
                                          "Capture for quillmark board", "Quillmark");
}

static void gst_zq_net_source_class_init(gpointer g_class, gpointer)
{
    parent_class = GST_ELEMENT_CLASS(g_type_class_peek_parent(g_class));
    GObjectClass* object_class = G_OBJECT_CLASS(g_class);
    object_class->dispose = gst_zq_net_source_dispose;
    object_class->finalize = gst_zq_net_source_finalize;
    object_class->set_property = gst_zq_net_source_set_property;
    object_class->get_property = gst_zq_net_source_get_property;
    GST_ELEMENT_CLASS(g_class)->change_state = gst_zq_net_source_change_state;
    GST_ELEMENT_CLASS(g_class)->send_event = gst_zq_net_source_send_event;

    constexpr auto plain = static_cast<GParamFlags>(G_PARAM_READWRITE);
    constexpr auto with_static_strings = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
    const auto install = [object_class](guint id, GParamSpec* param) {
        g_object_class_install_property(object_class, id, param);
    };
    install(zq_net_source::address, g_param_spec_string("address", "Address", "Address", "", with_static_strings));
    // A fresh element reads 0 all the same: the default only describes the property; that is meant.
    install(zq_net_source::port, g_param_spec_uint("port", "Port", "Port", 0, 65535, 20000, with_static_strings));
    install(zq_net_source::interface,
            g_param_spec_string("interface", "Interface", "Interface", "", with_static_strings));
    install(zq_net_source::input_type,
            g_param_spec_int("input_type", "Input type", "Input stream type 0 - TS, 1 - T2MI", 0, 1, 0, plain));
    install(zq_net_source::plp, g_param_spec_int("plp", "plp", "Index PLP", 0, 255, 0, plain));
    install(zq_net_source::statistics,
            g_param_spec_pointer("statistics", "statistics", "Network source statistics", G_PARAM_READABLE));
}

static void gst_zq_net_source_init(GTypeInstance* instance, gpointer)
{
    auto* const element = GST_ELEMENT(instance);
    // Bins send an EOS event meant for the pipeline to the elements that carry this flag.
    GST_OBJECT_FLAG_SET(element, GST_ELEMENT_FLAG_SOURCE);
    auto& engine = reinterpret_cast<Gstzqnetsource*>(instance)->engine;
    try {
        engine = new zq_net_source{element, parent_class};
    } catch (...) {
        // No exception may pass through GObject, which has no other way to fail here.
        engine = nullptr;
    }
}

GType gst_zqnetsource_get_type()
{
    static const GType type = [] {
        GTypeInfo info{};
        info.class_size = sizeof(Gstzqnetsourceclass);
        info.base_init = gst_zq_net_source_base_init;
        info.class_init = gst_zq_net_source_class_init;
        info.instance_size = sizeof(Gstzqnetsource);
        info.instance_init = gst_zq_net_source_init;
        return g_type_register_static(GST_TYPE_ELEMENT, "GstZqNetSourceType", &info, static_cast<GTypeFlags>(0));
    }();
    return type;
}

gboolean zq_register_elements(GstPlugin* plugin)
{
    if (gst_zq_net_source_debug == nullptr)
        GST_DEBUG_CATEGORY_INIT(gst_zq_net_source_debug, "zqnetsource", 0, "Quillmark PRXXX ASI Capture Element");
    return gst_element_register(plugin, "zqnetsource", GST_RANK_NONE, gst_zqnetsource_get_type());
}
