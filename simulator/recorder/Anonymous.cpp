#include "simulator/recorder/Anonymous.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <string>

#include "simulator/AtaFormat.h"
#include "simulator/NvmeFormat.h"

namespace simulator {

namespace {

// A run of bytes within an answer.
struct Field {
  std::size_t offset;
  std::size_t length;
};

constexpr Field kAtaSerial{ata::kWordSerialNumber * 2, ata::kSerialNumberWidth};
constexpr Field kAtaWorldWideName{108 * 2, 8};  // ACS-3 7.12.7.63
constexpr Field kNvmeSerial{4, 20};             // NVM Express 1.4, figure 247
constexpr Field kNvmeFruGuid{112, 16};          // the same
constexpr Field kNvmeNamespaceNames{104, 24};   // NGUID and EUI64: figure 245

// Where the identifying fields of a request's answers are.
struct Identity {
  std::optional<Field> serial;
  Field names{0, 0};
  bool ata = false;
};

// nvme_admin_cmd, as it was sent.
constexpr std::size_t kOpcode = 0;
constexpr std::size_t kDword10 = 40;

std::optional<Identity> identityIn(const RecordedRequest& request) {
  if (request.kind == RequestKind::hdioGetIdentity) {
    return Identity{kAtaSerial, kAtaWorldWideName, true};
  }
  if (request.kind != RequestKind::nvmeAdmin || request.sent.size() <= kDword10 ||
      request.sent[kOpcode] != nvme::kIdentify) {
    return std::nullopt;
  }
  constexpr std::uint8_t kNamespace = 0;
  constexpr std::uint8_t kController = 1;
  switch (request.sent[kDword10]) {
    case kNamespace:
      return Identity{std::nullopt, kNvmeNamespaceNames};
    case kController:
      return Identity{kNvmeSerial, kNvmeFruGuid};
    default:
      return std::nullopt;
  }
}

bool holds(const Bytes& data, const Field& field) {
  return data.size() >= field.offset + field.length;
}

std::string serialIn(const Bytes& data, const Field& field) {
  const std::string text(data.begin() + static_cast<std::ptrdiff_t>(field.offset),
                         data.begin() + static_cast<std::ptrdiff_t>(field.offset + field.length));
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The made-up serial number for each real one.
class Serials {
 public:
  void add(const std::string& real) {
    if (real.empty() || madeUp_.count(real) != 0) {
      return;
    }
    const std::string number = std::to_string(madeUp_.size() + 1);
    std::string text(real.size(), 'X');
    const std::size_t digits = std::min(number.size(), text.size());
    text.replace(text.size() - digits, digits, number, number.size() - digits, digits);
    madeUp_[real] = text;
  }

  [[nodiscard]] const std::map<std::string, std::string>& all() const { return madeUp_; }

 private:
  std::map<std::string, std::string> madeUp_;
};

void replaceAll(Bytes& data, const Bytes& what, const Bytes& by) {
  for (auto at = data.begin();;) {
    at = std::search(at, data.end(), what.begin(), what.end());
    if (at == data.end()) {
      return;
    }
    at = std::copy(by.begin(), by.end(), at);
  }
}

// As an ATA drive sends its serial number: a field of its own, the bytes of each word exchanged.
Bytes swapped(const std::string& text) {
  Bytes field(ata::kSerialNumberWidth);
  putText(field, 0, field.size(), text);
  swapWords(field, 0, field.size());
  return field;
}

bool sumsToZero(const Bytes& data) {
  return std::accumulate(data.begin(), data.end(), 0U) % 256 == 0;
}

// Everywhere else a text must be long enough to be the serial number and not something else.
constexpr std::size_t kLongEnough = 4;

void replaceIn(Bytes& data, const std::string& real, const std::string& madeUp) {
  if (real.size() >= kLongEnough) {
    replaceAll(data, Bytes(real.begin(), real.end()), Bytes(madeUp.begin(), madeUp.end()));
    replaceAll(data, swapped(real), swapped(madeUp));
  }
}

void clean(Bytes& data, const std::optional<Identity>& identity, const Serials& serials) {
  const bool sealed =
      identity && identity->ata && data.size() == ata::kSectorSize && sumsToZero(data);
  if (identity && identity->serial && holds(data, *identity->serial)) {
    const Field& field = *identity->serial;
    const auto known = serials.all().find(serialIn(data, field));
    if (known != serials.all().end()) {
      const auto start = data.begin() + static_cast<std::ptrdiff_t>(field.offset);
      const auto end = start + static_cast<std::ptrdiff_t>(field.length);
      const auto text = std::search(start, end, known->first.begin(), known->first.end());
      std::copy(known->second.begin(), known->second.end(), text);
    }
  }
  if (identity && holds(data, identity->names)) {
    std::fill_n(data.begin() + static_cast<std::ptrdiff_t>(identity->names.offset),
                identity->names.length, std::uint8_t{0});
  }
  for (const auto& [real, madeUp] : serials.all()) {
    replaceIn(data, real, madeUp);
  }
  if (sealed) {
    sealChecksum(data);
  }
}

template <typename Action>
void forEachRequest(MachineDescription& machine, Action action) {
  for (DriveDescription& drive : machine.drives) {
    if (auto* recorded = std::get_if<RecordedDescription>(&drive.drive)) {
      std::for_each(recorded->requests.begin(), recorded->requests.end(), action);
    }
  }
}

}  // namespace

void makeAnonymous(MachineDescription& machine) {
  Serials serials;
  forEachRequest(machine, [&serials](RecordedRequest& request) {
    const auto identity = identityIn(request);
    for (const RecordedAnswer& answer : request.answers) {
      if (identity && identity->serial && holds(answer.data, *identity->serial)) {
        serials.add(serialIn(answer.data, *identity->serial));
      }
    }
  });
  forEachRequest(machine, [&serials](RecordedRequest& request) {
    const auto identity = identityIn(request);
    for (RecordedAnswer& answer : request.answers) {
      clean(answer.data, identity, serials);
    }
  });
}

}  // namespace simulator
