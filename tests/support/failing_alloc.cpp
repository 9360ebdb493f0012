#include "tests/support/failing_alloc.h"

#include <cstdlib>
#include <new>

namespace testing_support {

namespace {

// Plain globals: they are zero before any constructor runs, and operator new
// is called during static initialisation too.
long gUntilFailure = 0;  // allocations left before the failing one; 0: disarmed
bool gFromThenOn = false;
bool gFailing = false;   // FromThenOn and reached
bool gFailed = false;
long gCount = 0;

void* allocate(std::size_t size) {
    ++gCount;
    if (gUntilFailure > 0 && --gUntilFailure == 0) {
        gFailing = gFromThenOn;
        gFailed = true;
        throw std::bad_alloc();
    }
    if (gFailing) throw std::bad_alloc();
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}

void* allocateOrNull(std::size_t size) noexcept {
    try {
        return allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

void failAllocation(long nth, Failing mode) noexcept {
    gUntilFailure = nth > 0 ? nth : 0;
    gFromThenOn = mode == Failing::FromThenOn;
    gFailing = false;
    gFailed = false;
    gCount = 0;
}

void stopFailingAllocations() noexcept {
    gUntilFailure = 0;
    gFailing = false;
    gCount = 0;
}

long allocationCount() noexcept { return gCount; }

bool allocationFailed() noexcept { return gFailed; }

}  // namespace testing_support

// Every form of new and delete goes through malloc and free, so the sanitizers
// see matching pairs whichever form the library used.
void* operator new(std::size_t size) { return testing_support::allocate(size); }
void* operator new[](std::size_t size) { return testing_support::allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return testing_support::allocateOrNull(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return testing_support::allocateOrNull(size);
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
