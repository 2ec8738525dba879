#include "ssdlife/Metrics.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include "ssdlife/Show.h"

namespace ssdlife {
namespace {

// The exporter refuses a whole file for one byte that is not UTF-8, so a drive's texts are made
// printable first; that leaves no line feed to escape.
std::string quoted(const std::string& text) {
  std::string value = "\"";
  for (const char c : printable(text)) {
    value += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  }
  return value + '"';
}

std::string device(const Drive& drive) { return "device=" + quoted(drive.physicalDrive); }

struct Metric {
  const char* name;
  const char* type;
  const char* help;
  std::string (*labels)(const Drive& drive);
  std::optional<std::string> (*value)(const Drive& drive);  // nothing: not shown for this drive
};

std::string descriptionOf(const Drive& drive) {
  return device(drive) + ",model=" + quoted(drive.model) +
         ",serial_number=" + quoted(drive.serialNumber) +
         ",firmware_version=" + quoted(drive.firmware) + ",source=" +
         quoted(drive.percentageUsed ? sourceInWords(drive.percentageUsedSource) : "none");
}

// 101 % is 1.01: two places are exact.
std::optional<std::string> ratio(const Drive& drive) {
  if (!drive.percentageUsed || drive.readError) {
    return std::nullopt;
  }
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%u.%02u", *drive.percentageUsed / 100,
                *drive.percentageUsed % 100);
  return text.data();
}

// Values are floating-point numbers to Prometheus, and no number of hours is too large for one.
std::optional<std::string> seconds(const Drive& drive) {
  if (!drive.poweredOnHours || drive.readError) {
    return std::nullopt;
  }
  constexpr double kSecondsPerHour = 3600;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.0f",
                static_cast<double>(*drive.poweredOnHours) * kSecondsPerHour);
  return text.data();
}

std::optional<std::string> expected(const Drive& drive, std::int64_t Expected::*bound) {
  return drive.overThreshold ? std::optional(std::to_string((*drive.overThreshold).*bound))
                             : std::nullopt;
}

const Metric kMetrics[] = {
    {"ssdlife_info", "gauge", "What the SSD calls itself and where its wear is read; always 1.",
     descriptionOf, [](const Drive&) { return std::optional<std::string>("1"); }},
    {"ssdlife_rated_life_used_ratio", "gauge",
     "Share of the SSD's rated life that is used; 1 is all of it, more is possible.", device,
     ratio},
    {"ssdlife_powered_on_seconds_total", "counter",
     "Time that the SSD has been powered on, which it counts in hours.", device, seconds},
    {"ssdlife_failure_imminent", "gauge",
     "Whether the SSD's wear is over the limit that the provider is configured for.", device,
     [](const Drive& drive) {
       return std::optional<std::string>(drive.failureImminent ? "1" : "0");
     }},
    {"ssdlife_read", "gauge",
     "Whether the SSD could be read; without that, its share and its time are not known.", device,
     [](const Drive& drive) { return std::optional<std::string>(drive.readError ? "0" : "1"); }},
    {"ssdlife_threshold_expected_timestamp_seconds", "gauge",
     "When the SSD's wear is expected to pass that limit, from its history.", device,
     [](const Drive& drive) { return expected(drive, &Expected::likely); }},
    {"ssdlife_threshold_expected_early_timestamp_seconds", "gauge",
     "Before that time it does so in one of ten cases.", device,
     [](const Drive& drive) { return expected(drive, &Expected::early); }},
    {"ssdlife_threshold_expected_late_timestamp_seconds", "gauge",
     "After that time it does so in one of ten cases.", device,
     [](const Drive& drive) { return expected(drive, &Expected::late); }},
};

}  // namespace

std::string showMetrics(const std::vector<Drive>& drives) {
  std::string text;
  for (const Metric& metric : kMetrics) {
    const bool any = std::any_of(drives.begin(), drives.end(), [&metric](const Drive& drive) {
      return metric.value(drive).has_value();
    });
    if (!any) {
      continue;
    }
    text += std::string("# HELP ") + metric.name + ' ' + metric.help + '\n';
    text += std::string("# TYPE ") + metric.name + ' ' + metric.type + '\n';
    for (const Drive& drive : drives) {
      if (const auto value = metric.value(drive)) {
        text += std::string(metric.name) + '{' + metric.labels(drive) + "} " + *value + '\n';
      }
    }
  }
  return text;
}

}  // namespace ssdlife
