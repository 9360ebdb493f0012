#pragma once

namespace testing_support {

// A failing allocator for tests. Linking this file replaces the global
// operator new and delete of the whole test binary; a test pulls it in by
// calling any function below (an unreferenced member of a static library is
// not linked, and then the replacement would silently not happen).

enum class Failing {
    Once,        // the one allocation fails, later ones succeed
    FromThenOn,  // that allocation and every later one fail
};

/// Makes the `nth` allocation from now fail (1: the very next one). Also
/// restarts allocationCount() and clears allocationFailed().
void failAllocation(long nth, Failing mode = Failing::Once) noexcept;

/// No allocation fails from now on; allocationCount() restarts.
void stopFailingAllocations() noexcept;

/// Allocations attempted since the last failAllocation() or stopFailingAllocations().
long allocationCount() noexcept;

/// Whether an allocation was made to fail since the last failAllocation().
bool allocationFailed() noexcept;

/// Fails the `nth` allocation while it lives.
class FailingAllocation {
public:
    explicit FailingAllocation(long nth, Failing mode = Failing::Once) noexcept { failAllocation(nth, mode); }
    ~FailingAllocation() { stopFailingAllocations(); }
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace testing_support
