#include "ssdlife/HealthCheck.h"

#include <algorithm>
#include <cctype>

#include "ssdlife/Show.h"
#include "ssdlife/service/Clock.h"

namespace ssdlife {
namespace {

// From the best to the worst.
constexpr Health kOrder[] = {Health::kOk, Health::kUnknown, Health::kWarning, Health::kCritical};

Health worse(Health one, Health other) {
  const auto place = [](Health health) {
    return std::find(std::begin(kOrder), std::end(kOrder), health);
  };
  return place(one) < place(other) ? other : one;
}

const char* nameOf(Health health) {
  switch (health) {
    case Health::kOk:
      return "OK";
    case Health::kWarning:
      return "WARNING";
    case Health::kCritical:
      return "CRITICAL";
    case Health::kUnknown:
      break;
  }
  return "UNKNOWN";
}

bool isExpected(const Drive& drive, const Thresholds& thresholds) {
  return thresholds.expectedBefore && drive.overThreshold &&
         drive.overThreshold->likely < *thresholds.expectedBefore;
}

Health healthOf(const Drive& drive, const Thresholds& thresholds) {
  if (drive.failureImminent) {
    return Health::kCritical;
  }
  if (!drive.percentageUsed || drive.readError) {
    return Health::kUnknown;
  }
  if (thresholds.critical.alerts(*drive.percentageUsed)) {
    return Health::kCritical;
  }
  return thresholds.warning.alerts(*drive.percentageUsed) || isExpected(drive, thresholds)
             ? Health::kWarning
             : Health::kOk;
}

std::string wordsOf(const Drive& drive, const Thresholds& thresholds) {
  if (drive.readError) {
    return drive.physicalDrive + " not read: " + *drive.readError;
  }
  const std::string used =
      drive.percentageUsed ? std::to_string(*drive.percentageUsed) + " %" : "unknown";
  return drive.physicalDrive + ' ' + used + (drive.failureImminent ? " (failing)" : "") +
         (isExpected(drive, thresholds)
              ? " (failing about " + dateText(drive.overThreshold->likely) + ')'
              : "");
}

// Labels stand unquoted: only characters that never end one.
std::string label(const std::string& drive) {
  std::string safe = drive;
  std::replace_if(
      safe.begin(), safe.end(),
      [](unsigned char c) { return std::isalnum(c) == 0 && c != '-' && c != '.'; }, '_');
  return safe;
}

// "U" is the plugins' word for a value that could not be had.
std::string performanceOf(const Drive& drive, const Thresholds& thresholds) {
  const std::string name = label(drive.physicalDrive);
  const bool told = drive.percentageUsed && !drive.readError;
  std::string data = name + "_used=" + (told ? std::to_string(*drive.percentageUsed) + '%' : "U") +
                     ';' + thresholds.warning.text() + ';' + thresholds.critical.text() + ";0;100";
  if (drive.poweredOnHours && !drive.readError) {
    data += ' ' + name + "_hours=" + std::to_string(*drive.poweredOnHours);
  }
  return data;
}

// A bar would begin the performance data.
std::string message(Health health, const std::string& text) {
  std::string safe = printable(text);
  std::replace(safe.begin(), safe.end(), '|', '/');
  return std::string("SSD ") + nameOf(health) + " - " + safe;
}

}  // namespace

HealthReport healthOf(const std::vector<Drive>& drives, const Thresholds& thresholds) {
  HealthReport report;
  report.health = Health::kOk;
  std::string words;
  std::string performance;
  for (const Drive& drive : drives) {
    report.health = worse(report.health, healthOf(drive, thresholds));
    words += (words.empty() ? "" : ", ") + wordsOf(drive, thresholds);
    performance += ' ' + performanceOf(drive, thresholds);
  }
  report.line = message(report.health, words) + " |" + performance + '\n';
  return report;
}

HealthReport unknownHealth(const std::string& reason) {
  return {Health::kUnknown, message(Health::kUnknown, reason) + '\n'};
}

}  // namespace ssdlife
