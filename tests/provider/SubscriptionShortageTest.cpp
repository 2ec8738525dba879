#include <memory>
#include <new>
#include <string>

#include "provider/SsdProvider.h"
#include "tests/provider/Allocations.h"
#include "tests/provider/ProviderFixture.h"

namespace {

class SubscriptionShortage : public ProviderTest {
 protected:
  /// The `failing`th allocation fails; 0 for none.
  std::string activate(SsdProvider& provider, unsigned failing = 0) {
    CMPIObjectPath* filtered = broker.path("root/cimv2", "KAV_SSDLifeMonitorFailureImminent");
    return events::during([&] {
      allocations::failNth(failing);
      (void)provider.activateFilter(nullptr, broker.context(), nullptr, "ignored", filtered, 1);
      allocations::failNth(0);
    });
  }
};

// A subscription that was counted without having reached the core would keep all later ones from
// it.
TEST_F(SubscriptionShortage, LeavesTheNextOneTheFirst) {
  unsigned shortages = 0;
  for (unsigned nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    std::unique_ptr<SsdProvider> provider;
    (void)events::during([&] {
      provider = std::make_unique<SsdProvider>();
      provider->setBroker(broker.cmpi());
      provider->initialise(broker.context());
    });
    bool failed = false;
    try {
      (void)activate(*provider, nth);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    allocations::failNth(0);
    if (failed) {
      ++shortages;
      const std::string seen = activate(*provider);
      EXPECT_EQ(events::count(seen, "current activeIndSubscriptions=0"), 1U);
      EXPECT_EQ(events::count(seen, "core: registerSsdListener"), 1U);
      EXPECT_EQ(core().listener, provider.get());
    }
    (void)events::during([&] { provider.reset(); });
    if (!failed) {
      break;
    }
  }
  EXPECT_GE(shortages, 1U);
}

}  // namespace
