#include "provider/Containment.h"

#include <new>
#include <thread>

#include <pthread.h>

#include "tests/provider/ProviderFixture.h"

namespace {

class Containment : public ProviderTest {
 protected:
  template <typename Work>
  std::string logged(Work work) {
    return events::during([&] { succeeded = succeeds("Some::origin", "Some unknown text", work); });
  }
  bool succeeded = false;
};

TEST_F(Containment, SaysNothingOfWorkThatSucceeds) {
  EXPECT_EQ(logged([] {}), "");
  EXPECT_TRUE(succeeded);
}

TEST_F(Containment, ShowsTheCodeAndTheMessageOfAStatus) {
  EXPECT_EQ(logged([this] {
              throw CMPIStatus{CMPI_RC_ERR_ACCESS_DENIED, broker.string("100% refused")};
            }),
            lines({"log 1: Some::origin - CMPIStatus 2, 100% refused"})
                .insert(0, "broker: string.getCharPtr()\n"));
  EXPECT_FALSE(succeeded);
}

TEST_F(Containment, ShowsAStatusWithoutAMessageAsNull) {
  EXPECT_EQ(logged([] {
              throw CMPIStatus{CMPI_RC_ERR_FAILED, nullptr};
            }),
            "log 1: Some::origin - CMPIStatus 1, (null)\n");
  EXPECT_FALSE(succeeded);
}

TEST_F(Containment, ShowsAMessageWithoutCharactersAsEmpty) {
  const std::string text = logged([this] { throw CMPIStatus{CMPI_RC_OK, broker.string(nullptr)}; });
  EXPECT_EQ(events::only("log", text), "log 1: Some::origin - CMPIStatus 0, \n");
  EXPECT_FALSE(succeeded);
}

TEST_F(Containment, ShowsAnythingElseAsTheUnknownText) {
  EXPECT_EQ(logged([] { throw std::bad_alloc(); }), "log 1: Some unknown text\n");
  EXPECT_FALSE(succeeded);
  EXPECT_EQ(logged([] { throw 7; }), "log 1: Some unknown text\n");
  EXPECT_FALSE(succeeded);
}

TEST_F(Containment, LetsAThreadEndThatItsHostCancels) {
  EXPECT_EQ(events::during([] {
              std::thread cancelled([] {
                (void)succeeds("Some::origin", "Some unknown text", [] { pthread_exit(nullptr); });
                events::add("the thread went on");
              });
              cancelled.join();
            }),
            "");
}

}  // namespace
