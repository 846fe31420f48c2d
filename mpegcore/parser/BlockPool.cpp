// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/BlockPool.h"

#include <array>

#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h> // whose macros do nothing without AddressSanitizer
#endif

namespace mpegcore
{
namespace
{
constexpr std::size_t step = 64;
constexpr std::size_t largest = 1024;
constexpr unsigned most_kept = 64;

struct free_blocks
{
    std::array<void*, most_kept> blocks;
    unsigned count;
};

// Without a destructor, so that objects that outlive the thread's other variables can still give their blocks back.
// The pointers stand outside of the blocks, which are poisoned, so that LeakSanitizer sees them.
struct thread_blocks
{
    std::array<free_blocks, largest / step + 1> by_size;
    std::size_t bytes_taken;
    bool keeps_none;
};
thread_local thread_blocks of_thread;

struct FreeAtThreadEnd
{
    ~FreeAtThreadEnd()
    {
        of_thread.keeps_none = true;
        for (free_blocks& kept : of_thread.by_size)
            while (kept.count != 0)
                ::operator delete(kept.blocks[--kept.count]);
    }
};

void free_at_thread_end() { static thread_local FreeAtThreadEnd when_the_thread_ends; }

std::size_t index_of(std::size_t size) { return (size + step - 1) / step; }

/// Lets AddressSanitizer, where there is one, report each access behind the first `usable` bytes of a block.
void set_usable([[maybe_unused]] void* block, [[maybe_unused]] std::size_t usable,
                [[maybe_unused]] std::size_t size) noexcept
{
#ifdef ASAN_POISON_MEMORY_REGION
    ASAN_POISON_MEMORY_REGION(block, index_of(size) * step);
    ASAN_UNPOISON_MEMORY_REGION(block, usable);
#endif
}
} // namespace

void* take_block(std::size_t size)
{
    of_thread.bytes_taken += size;
    if (size > largest)
        return ::operator new(size);
    free_blocks& kept = of_thread.by_size[index_of(size)];
    void* const block = kept.count != 0 ? kept.blocks[--kept.count] : ::operator new(index_of(size) * step);
    set_usable(block, size, size);
    return block;
}

void give_block(void* block, std::size_t size) noexcept
{
    of_thread.bytes_taken -= size;
    if (size > largest || size == 0 || of_thread.keeps_none) {
        ::operator delete(block);
        return;
    }
    free_blocks& kept = of_thread.by_size[index_of(size)];
    if (kept.count == most_kept) {
        ::operator delete(block);
        return;
    }
    if (kept.count == 0)
        free_at_thread_end();
    kept.blocks[kept.count++] = block;
    set_usable(block, 0, size);
}

std::size_t block_bytes() noexcept { return of_thread.bytes_taken; }

void expect_block_bytes(std::size_t bytes) noexcept { of_thread.bytes_taken += bytes; }
} // namespace mpegcore
