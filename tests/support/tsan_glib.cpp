// SPDX-License-Identifier: LGPL-2.1-or-later
// Shows ThreadSanitizer how GLib's locks and GStreamer's reference counts order the threads: both rest on futexes and
// atomics in libraries that are not instrumented. Linked into the program, these stand before the libraries' own.
#include <gst/gst.h>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

#include <mutex>

namespace
{
template <class Function>
Function* real(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

struct pool_function
{
    GFunc call;
    gpointer user_data;
};
char thread_pools;

void call_in_pool(gpointer data, gpointer user_data)
{
    __tsan_acquire(&thread_pools);
    const auto* const function = static_cast<const pool_function*>(user_data);
    function->call(data, function->user_data);
}
} // namespace

#define ZQ_REAL(name) static const auto next = real<decltype(name)>(#name)

#define ZQ_LOCK(name, type)                                                                                            \
    extern "C" __attribute__((visibility("default"))) void name(type* lock)                                            \
    {                                                                                                                  \
        ZQ_REAL(name);                                                                                                 \
        next(lock);                                                                                                    \
        __tsan_acquire(lock);                                                                                          \
    }
#define ZQ_TRYLOCK(name, type)                                                                                         \
    extern "C" __attribute__((visibility("default"))) gboolean name(type* lock)                                        \
    {                                                                                                                  \
        ZQ_REAL(name);                                                                                                 \
        const gboolean locked = next(lock);                                                                            \
        if (locked)                                                                                                    \
            __tsan_acquire(lock);                                                                                      \
        return locked;                                                                                                 \
    }
#define ZQ_UNLOCK(name, type)                                                                                          \
    extern "C" __attribute__((visibility("default"))) void name(type* lock)                                            \
    {                                                                                                                  \
        ZQ_REAL(name);                                                                                                 \
        __tsan_release(lock);                                                                                          \
        next(lock);                                                                                                    \
    }

ZQ_LOCK(g_mutex_lock, GMutex)
ZQ_TRYLOCK(g_mutex_trylock, GMutex)
ZQ_UNLOCK(g_mutex_unlock, GMutex)
ZQ_LOCK(g_rec_mutex_lock, GRecMutex)
ZQ_TRYLOCK(g_rec_mutex_trylock, GRecMutex)
ZQ_UNLOCK(g_rec_mutex_unlock, GRecMutex)
ZQ_LOCK(g_rw_lock_writer_lock, GRWLock)
ZQ_TRYLOCK(g_rw_lock_writer_trylock, GRWLock)
ZQ_UNLOCK(g_rw_lock_writer_unlock, GRWLock)
ZQ_LOCK(g_rw_lock_reader_lock, GRWLock)
ZQ_TRYLOCK(g_rw_lock_reader_trylock, GRWLock)
ZQ_UNLOCK(g_rw_lock_reader_unlock, GRWLock)
// A buffer that goes back to its pool was written by the thread that lets go of it last.
ZQ_UNLOCK(gst_mini_object_unref, GstMiniObject)

// All names share one table and the blocks that hold their texts, under a lock that the library takes by itself.
std::mutex quarks;

#define ZQ_QUARK(name, result)                                                                                         \
    extern "C" __attribute__((visibility("default"))) result name(const gchar* string)                                 \
    {                                                                                                                  \
        ZQ_REAL(name);                                                                                                 \
        const std::lock_guard lock(quarks);                                                                            \
        return next(string);                                                                                           \
    }

ZQ_QUARK(g_quark_from_string, GQuark)
ZQ_QUARK(g_quark_from_static_string, GQuark)
ZQ_QUARK(g_intern_string, const gchar*)
ZQ_QUARK(g_intern_static_string, const gchar*)

// Whoever lets go of an object last destroys it after all that the others did with it.
extern "C" __attribute__((visibility("default"))) void g_object_unref(gpointer object)
{
    ZQ_REAL(g_object_unref);
    __tsan_release(object);
    __tsan_acquire(object);
    next(object);
}

extern "C" __attribute__((visibility("default"))) void g_cond_wait(GCond* condition, GMutex* lock)
{
    ZQ_REAL(g_cond_wait);
    __tsan_release(lock);
    next(condition, lock);
    __tsan_acquire(lock);
}

extern "C" __attribute__((visibility("default"))) gboolean g_cond_wait_until(GCond* condition, GMutex* lock,
                                                                             gint64 end_time)
{
    ZQ_REAL(g_cond_wait_until);
    __tsan_release(lock);
    const gboolean signalled = next(condition, lock, end_time);
    __tsan_acquire(lock);
    return signalled;
}

extern "C" __attribute__((visibility("default"))) GstFlowReturn
gst_buffer_pool_acquire_buffer(GstBufferPool* pool, GstBuffer** buffer, GstBufferPoolAcquireParams* parameters)
{
    ZQ_REAL(gst_buffer_pool_acquire_buffer);
    const GstFlowReturn flow = next(pool, buffer, parameters);
    if (flow == GST_FLOW_OK)
        __tsan_acquire(*buffer);
    return flow;
}

extern "C" __attribute__((visibility("default"))) GThreadPool*
g_thread_pool_new(GFunc function, gpointer user_data, gint max_threads, gboolean exclusive, GError** error)
{
    ZQ_REAL(g_thread_pool_new);
    // Kept as long as the program: pools have no hook for their end.
    return next(call_in_pool, new pool_function{function, user_data}, max_threads, exclusive, error);
}

extern "C" __attribute__((visibility("default"))) gboolean g_thread_pool_push(GThreadPool* pool, gpointer data,
                                                                              GError** error)
{
    ZQ_REAL(g_thread_pool_push);
    __tsan_release(&thread_pools);
    return next(pool, data, error);
}
