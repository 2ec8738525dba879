#include "core/SupportedModels.h"

#include <typeindex>

#include "device/SanDiskAlgo.h"
#include "device/SolidStateLogStatisticsAlgo.h"
#include "device/SolidStateLogStatisticsNVMeAlgo.h"
#include "tests/core/CoreTest.h"

namespace {

std::type_index kindOf(SsdAlgorithm& algorithm) { return typeid(algorithm); }

}  // namespace

TEST(SupportedModels, AreTheseInThisOrder) {
  const auto models = makeSupportedModels();
  const std::vector<std::pair<std::string, std::type_index>> expected = {
      {"SanDisk SSD P4 64GB", typeid(SanDiskAlgo)},
      {"SanDisk SSD U100 64GB", typeid(SolidStateLogStatisticsAlgo)},
      {"SanDisk SSD U100 128GB", typeid(SolidStateLogStatisticsAlgo)},
      {"SanDisk SD6SA1M064G", typeid(SolidStateLogStatisticsAlgo)},
      {"SanDisk SD6SA1M128G", typeid(SolidStateLogStatisticsAlgo)},
      {"SanDisk SD6SN1M064G", typeid(SolidStateLogStatisticsAlgo)},
      {"SanDisk SD6SN1M128G", typeid(SolidStateLogStatisticsAlgo)},
      {"SanDisk SD6SA1M064G1011", typeid(SolidStateLogStatisticsAlgo)},
      {"SanDisk SD6SA1M128G1011", typeid(SolidStateLogStatisticsAlgo)},
      {"TS64GHSD630", typeid(SolidStateLogStatisticsAlgo)},
      {"DEF_SSDLOG_ALGO", typeid(SolidStateLogStatisticsAlgo)},
      {"DEF_NVME_ALGO", typeid(SolidStateLogStatisticsNVMeAlgo)},
  };
  ASSERT_EQ(models->size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ((*models)[i]->model, expected[i].first);
    EXPECT_EQ(kindOf(*(*models)[i]->algorithm), expected[i].second) << expected[i].first;
  }
}

TEST(SupportedModels, HaveAnAlgorithmOfTheirOwnEach) {
  const auto models = makeSupportedModels();
  const auto others = makeSupportedModels();
  EXPECT_NE((*models)[1]->algorithm, (*models)[2]->algorithm);
  EXPECT_NE((*models)[1]->algorithm, (*others)[1]->algorithm);
}

TEST(SupportedModels, AreFoundByTheirExactText) {
  const auto models = makeSupportedModels();
  EXPECT_EQ(findAlgorithm(*models, "TS64GHSD630"), (*models)[9]->algorithm.get());
  for (const char* other :
       {"", "TS64GHSD63", "TS64GHSD6300", "ts64ghsd630", " TS64GHSD630", "TS64GHSD630 "}) {
    EXPECT_EQ(findAlgorithm(*models, other), nullptr) << other;
  }
  EXPECT_EQ(findAlgorithm(*models, std::string_view("TS64GHSD630\0", 12)), nullptr);
}

TEST(SupportedModels, AreFoundFromTheFirst) {
  SupportedModels models;
  for (int i = 0; i < 2; ++i) {
    models.push_back(std::make_unique<SsdModel>(SsdModel{"M", std::make_unique<SanDiskAlgo>()}));
  }
  EXPECT_EQ(findAlgorithm(models, "M"), models[0]->algorithm.get());
}
