// One temporary home for the host tests: the semaphore keys file lives there,
// and every set a test made is listed in it and removed at the end.
#include "host/kxsem.h"
#include "tests/support/temporary_home.h"

namespace {

class HostHome : public testing_support::TemporaryHome {
public:
    void TearDown() override {
        static_cast<void>(host::kxRemoveAllSem());
        TemporaryHome::TearDown();
    }
};

[[maybe_unused]] testing_support::TemporaryHome* const kHome = testing_support::addTemporaryHome(new HostHome);

}  // namespace
