// Counted and failing allocations. Only for tests that link the library's objects: operator new is replaced for the
// whole program.
#ifndef VELMORA_TESTS_SUPPORT_ALLOCATIONS_H
#define VELMORA_TESTS_SUPPORT_ALLOCATIONS_H

#include <functional>

namespace support {

// Counts what is allocated by operator new on this thread while it lives.
class AllocationCounter {
public:
    AllocationCounter();
    long allocations() const;  // calls of operator new
    long live() const;         // those that have not been released since
    long peakBytes() const;    // most bytes held at one moment, of those allocated since

private:
    long allocationsBefore_;
    long liveBefore_;
    long bytesBefore_;
};

// Runs `action` again and again, each time with one allocation later failing, until it gets through. After each failure
// only std::bad_alloc may have left, `check` is called, and nothing may have leaked. `action` must undo itself.
// Returns: the number of failures that were tried.
int failEachAllocation(
    const std::function<void()>& action, const std::function<void()>& check = [] {});

}  // namespace support

#endif
