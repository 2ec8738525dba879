#include "ssdlife/report/Page.h"

#include <array>
#include <cstdio>

#include "ssdlife/Show.h"
#include "ssdlife/report/Chart.h"

namespace ssdlife {
namespace {

constexpr const char* kStyle = R"(
:root { color-scheme: light dark; --page: #f4f5f7; --card: #fff; --ink: #1c2430; --faint: #5d6b7d;
  --grid: #dfe4ea; --wear: #1f6feb; --limit: #c2410c; --good: #15803d; }
@media (prefers-color-scheme: dark) { :root { --page: #12161c; --card: #1b212a; --ink: #e6eaf0;
  --faint: #9aa7b6; --grid: #313a47; --wear: #6ea8ff; --limit: #fb923c; --good: #4ade80; } }
* { box-sizing: border-box; }
body { margin: 0; padding: 1rem; background: var(--page); color: var(--ink);
  font: 1rem/1.45 system-ui, sans-serif; }
header, main, footer { max-width: 82rem; margin: 0 auto; }
h1 { font-size: 1.4rem; margin: 0 0 .2rem; overflow-wrap: anywhere; }
h2 { font-size: 1.1rem; margin: 0; overflow-wrap: anywhere; }
p { margin: .2rem 0; overflow-wrap: anywhere; }
.faint, footer { color: var(--faint); font-size: .9rem; }
main { display: grid; gap: 1rem; margin-top: 1rem;
  grid-template-columns: repeat(auto-fill, minmax(min(100%, 22rem), 1fr)); }
article { background: var(--card); border: 1px solid var(--grid); border-radius: .5rem;
  padding: .9rem; min-width: 0; }
.used { font-size: 1.6rem; font-weight: 600; }
.bad { color: var(--limit); font-weight: 600; }
.good { color: var(--good); }
svg { width: 100%; height: auto; display: block; margin-top: .4rem; }
svg text { fill: var(--faint); font-size: 12px; }
.grid { stroke: var(--grid); }
.limit { stroke: var(--limit); stroke-dasharray: 6 4; stroke-width: 1.5; }
.today { stroke: var(--faint); stroke-dasharray: 2 3; }
.wear { fill: none; stroke: var(--wear); stroke-width: 2; }
.band { fill: var(--wear); fill-opacity: .18; }
.likely { fill: none; stroke: var(--wear); stroke-width: 1.5; stroke-dasharray: 4 3; }
.alarm { fill: var(--limit); }
@media print { :root { color-scheme: light; --page: #fff; --card: #fff; --ink: #000; --faint: #444;
  --grid: #bbb; --wear: #1f6feb; --limit: #c2410c; --good: #15803d; }
  body { padding: 0; font-size: 10pt; }
  main { grid-template-columns: repeat(2, 1fr); } article { break-inside: avoid; } }
)";

std::string paragraph(const char* kind, const std::string& text) {
  return std::string("<p class=\"") + kind + "\">" + text + "</p>\n";
}

std::string perYear(double perDay) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f", perDay * 365);
  return text.data();
}

std::string forecastInWords(const Forecast& forecast, unsigned threshold) {
  if (!forecast.none.empty()) {
    return paragraph("faint", "No forecast: " + escaped(forecast.none) + ".");
  }
  const std::string rate = perYear(forecast.perDay) + " % a year. ";
  const std::string limit = std::to_string(threshold) + " %";
  if (!forecast.threshold) {
    return paragraph("bad", rate + "Over the threshold of " + limit + ".");
  }
  return paragraph(
      "", rate + "Over " + limit + " about <strong>" + dateText(forecast.threshold->likely) +
              "</strong>, in 4 of 5 cases from " + dateText(forecast.threshold->early) + " to " +
              dateText(forecast.threshold->late) + '.');
}

std::string alarmsInWords(const std::vector<Alarm>& alarms) {
  std::string out;
  for (const Alarm& alarm : alarms) {
    out += paragraph("bad", "Alarm " + timeText(alarm.raised).substr(0, 10) + ": " +
                                escaped(nameOf(alarm.cause)) +
                                (alarm.ended ? ", ended " + dateText(*alarm.ended) : ""));
  }
  return out;
}

std::string articleOf(const DriveReport& report, unsigned threshold, Seconds now) {
  const auto& [drive, samples, forecast] = report.forecast;
  const auto used = samples.empty() ? std::nullopt : samples.back().percentage;
  const std::string worn = used ? std::to_string(*used) + " %" : "unknown";
  const bool over = used && *used > static_cast<std::int64_t>(threshold);
  return "<article>\n<h2>" + escaped(drive.model) + "</h2>\n" +
         paragraph("faint", escaped(drive.node) + (drive.present ? "" : " (gone)") +
                                ", serial number " + escaped(drive.serialNumber) + ", firmware " +
                                escaped(drive.firmware)) +
         "<p><span class=\"used\">" + worn + "</span> of its rated life used" +
         (over ? " <span class=\"bad\">replace it</span>" : "") + "</p>\n" +
         forecastInWords(forecast, threshold) + alarmsInWords(report.alarms) +
         chartOf(report, threshold, now) + "\n</article>\n";
}

}  // namespace

std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : printable(text)) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string pageOf(const std::vector<DriveReport>& drives, unsigned threshold,
                   const std::string& host, Seconds now) {
  std::string out =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
      "'unsafe-inline'\">\n<title>SSDs of " +
      escaped(host) + "</title>\n<style>" + kStyle +
      "</style>\n</head>\n<body>\n<header><h1>SSDs of " + escaped(host) + "</h1>\n" +
      paragraph("faint", "As of " + timeText(now) + ". Dashed: the threshold of " +
                             std::to_string(threshold) +
                             " %. Shaded: where the wear goes in 4 of 5 cases. Dots: alarms.") +
      "</header>\n<main>\n";
  for (const DriveReport& drive : drives) {
    out += articleOf(drive, threshold, now);
  }
  if (drives.empty()) {
    out += paragraph("", "The history knows no SSD.");
  }
  return out + "</main>\n<footer><p>Written by ssdlife.</p></footer>\n</body>\n</html>\n";
}

}  // namespace ssdlife
