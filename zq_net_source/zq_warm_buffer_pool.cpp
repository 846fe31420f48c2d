// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_warm_buffer_pool.h"

#include <mutex>
#include <vector>

namespace
{
struct warm_buffers
{
    std::mutex mutex;
    std::vector<GstBuffer*> buffers; // the last is the one that came back last
    unsigned waiting = 0;            // threads in the parent's acquire_buffer, which looks for what the parent has
    gsize size = 0;                  // of a buffer as the pool makes it
};

struct instance
{
    GstBufferPool parent;
    warm_buffers* warm;
};

struct instance_class
{
    GstBufferPoolClass parent_class;
};

GstBufferPoolClass* base_class = nullptr;

warm_buffers& warm_of(GstBufferPool* pool) { return *reinterpret_cast<instance*>(pool)->warm; }

/// Allocates nothing ahead: the head of a buffer's memory would cost each of them a page.
gboolean start(GstBufferPool* pool)
{
    GstStructure* const config = gst_buffer_pool_get_config(pool);
    guint size = 0;
    gst_buffer_pool_config_get_params(config, nullptr, &size, nullptr, nullptr);
    gst_structure_free(config);
    warm_of(pool).size = size;
    return TRUE;
}

gboolean stop(GstBufferPool* pool)
{
    std::vector<GstBuffer*> buffers;
    {
        const std::lock_guard lock{warm_of(pool).mutex};
        buffers.swap(warm_of(pool).buffers);
    }
    for (GstBuffer* const buffer : buffers)
        base_class->release_buffer(pool, buffer);
    return base_class->stop(pool);
}

GstFlowReturn acquire_buffer(GstBufferPool* pool, GstBuffer** buffer, GstBufferPoolAcquireParams* params)
{
    warm_buffers& warm = warm_of(pool);
    {
        const std::lock_guard lock{warm.mutex};
        if (!warm.buffers.empty() && !GST_BUFFER_POOL_IS_FLUSHING(pool)) {
            *buffer = warm.buffers.back();
            warm.buffers.pop_back();
            return GST_FLOW_OK;
        }
        ++warm.waiting;
    }
    const GstFlowReturn result = base_class->acquire_buffer(pool, buffer, params);
    const std::lock_guard lock{warm.mutex};
    --warm.waiting;
    return result;
}

void release_buffer(GstBufferPool* pool, GstBuffer* buffer)
{
    warm_buffers& warm = warm_of(pool);
    // What was tampered with the parent throws away.
    const bool untouched = !GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_TAG_MEMORY) &&
                           gst_buffer_get_size(buffer) == warm.size && gst_buffer_is_all_memory_writable(buffer);
    if (untouched) {
        const std::lock_guard lock{warm.mutex};
        if (warm.waiting == 0) {
            warm.buffers.push_back(buffer);
            return;
        }
    }
    base_class->release_buffer(pool, buffer);
}

void finalize(GObject* object)
{
    warm_buffers* const warm = reinterpret_cast<instance*>(object)->warm;
    G_OBJECT_CLASS(base_class)->finalize(object); // which stops it
    delete warm;
}

void class_init(gpointer type_class, gpointer)
{
    base_class = static_cast<GstBufferPoolClass*>(g_type_class_peek_parent(type_class));
    G_OBJECT_CLASS(type_class)->finalize = finalize;
    auto* const pool_class = reinterpret_cast<GstBufferPoolClass*>(type_class);
    pool_class->start = start;
    pool_class->stop = stop;
    pool_class->acquire_buffer = acquire_buffer;
    pool_class->release_buffer = release_buffer;
}

void instance_init(GTypeInstance* created, gpointer) { reinterpret_cast<instance*>(created)->warm = new warm_buffers; }

GType warm_buffer_pool_type()
{
    static const GType type =
        g_type_register_static_simple(GST_TYPE_BUFFER_POOL, "ZqWarmBufferPool", sizeof(instance_class), class_init,
                                      sizeof(instance), instance_init, static_cast<GTypeFlags>(0));
    return type;
}
} // namespace

GstBufferPool* zq_warm_buffer_pool_new()
{
    auto* const pool = GST_BUFFER_POOL_CAST(g_object_new(warm_buffer_pool_type(), nullptr));
    gst_object_ref_sink(pool);
    return pool;
}
