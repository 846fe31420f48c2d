// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/BlockPool.h"

#include <array>

namespace mpegcore
{
namespace
{
constexpr std::size_t step = 64;
constexpr std::size_t largest = 1024;
constexpr unsigned most_kept = 64;

// A sanitizer sees a block used after it was freed only when it really is freed.
#ifdef ZQ_SANITIZED
constexpr bool keeps_blocks = false;
#else
constexpr bool keeps_blocks = true;
#endif

struct free_block
{
    free_block* next;
};

struct shelf
{
    free_block* first;
    unsigned count;
};

// Without a destructor, so that objects that outlive the thread's other variables can still give their blocks back.
struct shelves
{
    std::array<shelf, largest / step + 1> by_size;
    std::size_t bytes;
    bool closed;
};
thread_local shelves kept;

void empty(shelf& blocks) noexcept
{
    while (free_block* const block = blocks.first) {
        blocks.first = block->next;
        ::operator delete(block);
    }
    blocks.count = 0;
}

struct closing_time
{
    ~closing_time()
    {
        kept.closed = true;
        for (shelf& blocks : kept.by_size)
            empty(blocks);
    }
};

/// Makes sure that the thread's blocks are freed when it ends.
void open() { static thread_local closing_time when_the_thread_ends; }

std::size_t index_of(std::size_t size) { return (size + step - 1) / step; }
} // namespace

void* take_block(std::size_t size)
{
    kept.bytes += size;
    if (!keeps_blocks || size > largest)
        return ::operator new(size);
    shelf& blocks = kept.by_size[index_of(size)];
    if (free_block* const block = blocks.first) {
        blocks.first = block->next;
        --blocks.count;
        return block;
    }
    return ::operator new(index_of(size) * step);
}

void give_block(void* block, std::size_t size) noexcept
{
    kept.bytes -= size;
    if (!keeps_blocks || size > largest || size == 0 || kept.closed) {
        ::operator delete(block);
        return;
    }
    shelf& blocks = kept.by_size[index_of(size)];
    if (blocks.count == most_kept) {
        ::operator delete(block);
        return;
    }
    if (blocks.first == nullptr)
        open();
    blocks.first = new (block) free_block{blocks.first};
    ++blocks.count;
}

std::size_t block_bytes() noexcept { return kept.bytes; }
} // namespace mpegcore
