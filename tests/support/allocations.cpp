#include "tests/support/allocations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local long allocationCount = 0;
thread_local long liveCount = 0;
thread_local long liveBytes = 0;
thread_local long highestBytes = 0;
thread_local long failAt = -1;  // countdown to the allocation that fails; negative: none

struct alignas(std::max_align_t) Header {
    std::size_t size;
};

void* allocate(std::size_t size) {
    if (failAt >= 0 && failAt-- == 0) throw std::bad_alloc();
    if (size > static_cast<std::size_t>(PTRDIFF_MAX) - sizeof(Header)) throw std::bad_alloc();
    auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
    if (!header) throw std::bad_alloc();
    header->size = size;
    ++allocationCount;
    ++liveCount;
    liveBytes += static_cast<long>(size);
    if (liveBytes > highestBytes) highestBytes = liveBytes;
    return header + 1;
}

void* allocateOrNull(std::size_t size) noexcept {
    try {
        return allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void release(void* block) noexcept {
    if (!block) return;
    Header* header = static_cast<Header*>(block) - 1;
    --liveCount;
    liveBytes -= static_cast<long>(header->size);
    std::free(header);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocateOrNull(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocateOrNull(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }

namespace support {

AllocationCounter::AllocationCounter()
    : allocationsBefore_(allocationCount), liveBefore_(liveCount), bytesBefore_(liveBytes) {
    highestBytes = liveBytes;
}
long AllocationCounter::allocations() const { return allocationCount - allocationsBefore_; }
long AllocationCounter::live() const { return liveCount - liveBefore_; }
long AllocationCounter::peakBytes() const { return highestBytes - bytesBefore_; }

int failEachAllocation(const std::function<void()>& action, const std::function<void()>& check) {
    for (int n = 0;; ++n) {
        AllocationCounter counter;
        bool failed = false;
        bool other = false;
        failAt = n;
        try {
            action();
        } catch (const std::bad_alloc&) {
            failed = true;
        } catch (...) {
            other = true;
        }
        failAt = -1;
        EXPECT_FALSE(other) << "something other than std::bad_alloc left at allocation " << n;
        EXPECT_EQ(0, counter.live()) << "leaked when allocation " << n << " failed";
        if (!failed) return n;
        check();
    }
}

}  // namespace support
