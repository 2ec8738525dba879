#include "bench/LogLines.h"

#include <memory>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "bench/Machine.h"

namespace {

std::shared_ptr<spdlog::logger> makeSpdlog() {
  auto logger = spdlog::basic_logger_mt("file", bench::logPath());
  logger->set_pattern("%d/%m/%Y %H:%M:%S.%e\tP[%8P] T[%8t]\t%l\t%v");
  logger->set_level(spdlog::level::info);
  logger->flush_on(spdlog::level::trace);
  spdlog::set_default_logger(logger);
  return logger;
}

}  // namespace

void bench::logLine(LOG_LEVEL level) {
  Log(level, "SsdDevice::getSsdData - POH = %lu, Percentage Used = %d", kHours, kPercentage);
}

void bench::spdlogLine(spdlog::level::level_enum level) {
  static const std::shared_ptr<spdlog::logger> logger = makeSpdlog();
  spdlog::log(level, "SsdDevice::getSsdData - POH = {}, Percentage Used = {}", kHours, kPercentage);
}
