#include "tests/support/DriveAnswers.h"

#include <cerrno>

#include <algorithm>

#include <fcntl.h>

namespace testkit {

namespace {

void put(Bytes& bytes, std::size_t offset, std::uint64_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) {
    bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

void putText(Bytes& bytes, std::size_t offset, std::size_t width, const std::string& text) {
  std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), width, ' ');
  std::copy_n(text.begin(), std::min(width, text.size()),
              bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

void putAttribute(Bytes& sector, std::size_t slot, const Attribute& attribute) {
  const std::size_t entry = 2 + 12 * slot;
  sector[entry] = attribute.id;
  put(sector, entry + 1, attribute.flags, 2);
  sector[entry + 3] = attribute.current;
  sector[entry + 4] = attribute.worst;
  put(sector, entry + 5, attribute.raw, 6);
  sector[entry + 11] = attribute.reserved;
}

FakeKernel& kernel() { return FakeKernel::instance(); }

void willReadPage(const std::string& node, std::uint8_t log, std::uint8_t page, const Bytes& data) {
  const int fd = kernel().willOpen(node, O_RDONLY);
  kernel().willPassThrough(fd, log, page, {data, kGoodSense, kGood});
  kernel().willClose(fd);
}

}  // namespace

Bytes identifySector(const AtaIdentity& identity) {
  Bytes sector(512);
  putText(sector, 20, 20, identity.serialNumber);
  putText(sector, 46, 8, identity.firmware);
  putText(sector, 54, 40, identity.model);
  put(sector, 160, identity.majorVersion, 2);
  put(sector, 434, identity.rotationRate, 2);
  return sector;
}

Bytes smartSector(const std::vector<Attribute>& attributes) {
  Bytes sector(512);
  for (std::size_t slot = 0; slot < attributes.size(); ++slot) {
    putAttribute(sector, slot, attributes[slot]);
  }
  return sector;
}

Bytes smartSectorWith(std::size_t slot, const Attribute& attribute) {
  Bytes sector(512);
  putAttribute(sector, slot, attribute);
  return sector;
}

Bytes logDirectory(const std::vector<std::pair<std::uint8_t, std::uint16_t>>& pages) {
  Bytes sector(512);
  put(sector, 0, 1, 2);
  for (const auto& [address, count] : pages) {
    put(sector, address * std::size_t{2}, count, 2);
  }
  return sector;
}

Bytes statisticsPage(std::uint8_t percentage, std::uint8_t flags, std::uint8_t number) {
  Bytes page(512);
  page[0] = 1;
  page[2] = number;
  page[8] = percentage;
  page[15] = flags;
  return page;
}

Bytes statisticsPages(const Bytes& seven) {
  Bytes pages;
  for (std::uint8_t number = 0; number < 7; ++number) {
    pages.insert(pages.end(), 512, number);
  }
  pages.insert(pages.end(), seven.begin(), seven.end());
  return pages;
}

std::array<std::uint8_t, 32> senseWith(std::uint8_t error, std::uint8_t status) {
  std::array<std::uint8_t, 32> sense{};
  sense[0] = 0x72;
  sense[1] = 0x01;
  sense[3] = 0x1D;
  sense[7] = 0x0E;
  sense[8] = 0x09;
  sense[9] = 0x0C;
  sense[11] = error;
  sense[21] = status;
  return sense;
}

Bytes controllerData(const NvmeIdentity& identity) {
  Bytes data(4096);
  putText(data, 4, 20, identity.serialNumber);
  putText(data, 24, 40, identity.model);
  putText(data, 64, 8, identity.firmware);
  put(data, 516, identity.namespaces, 4);
  return data;
}

Bytes healthLog(std::uint8_t percentage, std::uint64_t hours, std::uint64_t upperHours) {
  Bytes log(512);
  log[5] = percentage;
  put(log, 128, hours, 8);
  put(log, 136, upperHours, 8);
  return log;
}

void willIdentifyAta(const std::string& node, const AtaIdentity& identity) {
  const int fd = kernel().willOpen(node, O_RDONLY);
  kernel().willIdentify(fd, identifySector(identity));
  kernel().willClose(fd);
}

void willEnableSmart(const std::string& node) {
  const int fd = kernel().willOpen(node, O_RDONLY);
  kernel().willCommand(fd, kSmartEnable, {});
  kernel().willClose(fd);
}

void willReadStatisticsPage(const std::string& node, std::uint8_t percentage, std::uint8_t flags) {
  willReadPage(node, 0x00, 0, logDirectory({{4, 8}}));
  willReadPage(node, 0x04, 7, statisticsPage(percentage, flags));
}

void willReadStatistics(const std::string& node, std::uint8_t percentage, std::uint64_t hours) {
  willReadStatisticsPage(node, percentage);
  willReadAttributes(node, {{9, 100, hours}});
}

void willReadAttributes(const std::string& node, const std::vector<Attribute>& attributes) {
  const int fd = kernel().willOpen(node, O_RDONLY);
  kernel().willCommand(fd, kSmartReadData, smartSector(attributes));
  kernel().willClose(fd);
}

void willFailAttributes(const std::string& node) {
  kernel().willRefuseOpen(node, O_RDONLY, ENODEV);
}

void willIdentifyNvme(const std::string& node, const NvmeIdentity& identity) {
  const int fd = kernel().willOpen(node, O_RDONLY | O_NONBLOCK);
  kernel().willSetCloseOnExec(fd);
  kernel().willAskNamespace(fd, fails(ENOTTY));
  kernel().willAdmin(fd, kIdentifyController, {controllerData(identity), 0, kGood});
  if (identity.namespaces == 1) {
    kernel().willAdmin(fd, identifyNamespace(1), {{}, 0, kGood});
  }
  kernel().willClose(fd);
}

void willReadHealth(const std::string& node, std::uint8_t percentage, std::uint64_t hours) {
  const int fd = kernel().willOpen(node, O_RDONLY | O_NONBLOCK);
  kernel().willSetCloseOnExec(fd);
  kernel().willAdmin(fd, kReadHealthLog, {healthLog(percentage, hours), 0, kGood});
  kernel().willClose(fd);
}

}  // namespace testkit
