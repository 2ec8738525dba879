#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <cmpi/cmpidt.h>
#include <cmpi/cmpift.h>

/// A broker that records every call as an event "broker: ...", with its arguments as the provider
/// passed them, makes any call fail on demand, and holds the provider to the rules: objects of this
/// broker only, none after its release, a thread attached before it is detached. Slots that this
/// provider has no use for are null.
///
/// Reading the namespace and the class of a path, and the characters of these and of a failure's
/// message, is not recorded: what is read shows in the log.
///
/// Any thread may call it; the rest is for the test's thread.
class RecordingBroker {
 public:
  static constexpr int kEncapsulationVersion = 2468;

  explicit RecordingBroker(const char* name = "recording");
  ~RecordingBroker();
  RecordingBroker(const RecordingBroker&) = delete;
  RecordingBroker& operator=(const RecordingBroker&) = delete;

  const CMPIBroker* cmpi() const { return &broker_; }

  // ---- What a request comes with.

  /// "context".
  const CMPIContext* context();
  /// "result", one for each call.
  const CMPIResult* result();
  /// A path without keys; a null text gives a null string object.
  CMPIObjectPath* path(const char* nameSpace, const char* className);
  /// A path in root/cimv2 of the SSD class with this DeviceID, as a CMPI_string.
  CMPIObjectPath* path(const std::string& deviceID);
  /// The same with the key as it is given here.
  CMPIObjectPath* pathWithKey(CMPIData key);
  /// A string object; null characters for none.
  CMPIString* string(const char* characters);

  // ---- Failures. Calls are counted from the moment at which they are armed, the first being 1.

  /// The nth call of that name has no effect and answers `rc` with a message, null for none.
  void fail(const std::string& call, unsigned nth, CMPIrc rc, const char* message = nullptr);
  /// The nth of all calls that have a status. Which one it was is told by `failedCall`.
  void failAny(unsigned nth, CMPIrc rc);
  [[nodiscard]] const std::string& failedCall() const { return failedCall_; }
  void clearFailures() { plans_.clear(); }
  /// The nth call of that name answers CMPI_RC_OK without an object.
  void answerNull(const std::string& call, unsigned nth);
  /// From now on a status is written only where a call fails, and its message only if there is one.
  void beTerse() { terse_ = true; }
  /// The nth call of that name throws a C++ exception, as no broker should.
  void throwFrom(const std::string& call, unsigned nth);

  // ---- Threads.

  /// Runs the oldest thread that newThread was asked for, here and now.
  void runThread();
  [[nodiscard]] std::size_t waitingThreads() const;

  /// Where the object of that label is.
  [[nodiscard]] const void* address(const std::string& label) const;

  /// What the provider did against the rules.
  [[nodiscard]] std::vector<std::string> violations() const;

 private:
  struct Plan {
    std::string call;  ///< empty: any
    unsigned nth;
    std::optional<CMPIrc> rc;
    const char* message;
    bool throws;
    unsigned seen = 0;
  };

  template <typename Cmpi>
  struct Thing : Cmpi {
    RecordingBroker* owner = nullptr;
    std::string label;
    bool attached = false;
    bool released = false;
    bool detached = false;
    // Of strings.
    std::optional<std::string> characters;
    bool recorded = false;
    // Of object paths.
    CMPIString* nameSpace = nullptr;
    CMPIString* className = nullptr;
    std::map<std::string, CMPIData> keys;
  };
  struct ThingOwner {
    virtual ~ThingOwner() = default;
    [[nodiscard]] virtual const std::string& label() const = 0;
    [[nodiscard]] virtual const void* address() const = 0;
  };
  template <typename Cmpi>
  struct Owned : ThingOwner {
    [[nodiscard]] const std::string& label() const override { return thing.label; }
    [[nodiscard]] const void* address() const override { return &thing; }
    Thing<Cmpi> thing;
  };
  struct Thread {
    CMPIThreadFunc start;
    void* parameter;
  };
  struct Answer {
    CMPIStatus status;
    bool null;  ///< no object, whatever the status says
  };

  template <typename Cmpi>
  Thing<Cmpi>* make(const std::string& kind, bool numbered = true);
  template <typename Cmpi>
  static Thing<Cmpi>& thingOf(const Cmpi* cmpi);
  template <typename Cmpi>
  std::string name(const Cmpi* cmpi);
  template <typename Cmpi>
  static void setTable(Thing<Cmpi>& thing);

  static RecordingBroker& of(const CMPIBroker* broker);
  std::string describe(const CMPIValue* value, CMPIType type);
  CMPIString* quietString(const char* characters);

  /// Records the call and answers what it is to come to.
  Answer enter(const std::string& call, const std::string& text);
  /// Tells the provider how the call went.
  void put(CMPIStatus* rc, const CMPIStatus& status) const;
  void violate(const std::string& text);

  static void fillTables();
  static CMPIContextFT contextTable;
  static CMPIResultFT resultTable;
  static CMPIStringFT stringTable;
  static CMPIInstanceFT instanceTable_;
  static CMPIObjectPathFT pathTable;
  static CMPIDateTimeFT dateTimeTable;

  mutable std::recursive_mutex mutex_;
  CMPIBrokerFT bft_{};
  CMPIBrokerEncFT eft_{};
  CMPIBrokerExtFT xft_{};
  CMPIBroker broker_{};
  std::vector<std::unique_ptr<ThingOwner>> things_;
  std::map<std::string, unsigned> labels_;
  std::vector<Plan> plans_;
  bool terse_ = false;
  std::string failedCall_;
  std::deque<Thread> threads_;
  std::vector<std::string> violations_;

  /// newThread comes without a broker: there is one at a time.
  static RecordingBroker* current;
};
