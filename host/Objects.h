#pragma once

#include <cmpi/cmpift.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/Instance.h"
#include "host/Status.h"

// The objects that stand behind the pointers in a provider's hands. Each is the CMPI structure and,
// after it, what the structure's functions work on.
namespace cmpihost {

class BrokerState;

class Object {
 public:
  Object(BrokerState& broker, const char* kind);
  virtual ~Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  BrokerState& broker() const { return broker_; }
  const char* kind() const { return kind_; }

  // "instance#2": the second instance of this broker.
  const std::string& label() const { return label_; }

  // A released object stays readable until its arena goes: a provider may hand a released context
  // to detachThread, and a double must not turn that into a crash.
  bool released() const { return released_; }

  // False when it was released before.
  bool release() { return !released_.exchange(true); }

 private:
  BrokerState& broker_;
  const char* const kind_;
  const std::string label_;
  std::atomic<bool> released_{false};
};

// Owns objects that go together. Any thread may use it.
class Arena {
 public:
  template <typename T>
  T* add(std::unique_ptr<T> object) {
    T* const raw = object.get();
    const std::lock_guard lock(mutex_);
    objects_.emplace(static_cast<const Object*>(raw), std::move(object));
    return raw;
  }

  // The object of that address if the arena owns it; ownership goes to the caller.
  std::unique_ptr<Object> take(const Object* object);

 private:
  std::mutex mutex_;
  std::unordered_map<const Object*, std::unique_ptr<Object>> objects_;
};

extern CMPIStringFT stringTable;
extern CMPIDateTimeFT dateTimeTable;
extern CMPIObjectPathFT objectPathTable;
extern CMPIInstanceFT instanceTable;
extern CMPIContextFT contextTable;
extern CMPIResultFT resultTable;

struct StringObject final : CMPIString, Object {
  static constexpr const char* kKind = "string";
  // Without a text the object has no characters: its character pointer is null.
  StringObject(BrokerState& broker, std::optional<std::string> characters);
  std::optional<std::string> text;
};

struct DateTimeObject final : CMPIDateTime, Object {
  static constexpr const char* kKind = "dateTime";
  DateTimeObject(BrokerState& broker, DateTime moment);
  const DateTime value;
};

struct ObjectPathObject final : CMPIObjectPath, Object {
  static constexpr const char* kKind = "objectPath";
  ObjectPathObject(BrokerState& broker, ObjectPath named);
  ObjectPath path;
};

struct InstanceObject final : CMPIInstance, Object {
  static constexpr const char* kKind = "instance";
  InstanceObject(BrokerState& broker, Instance built);
  Instance instance;
};

struct ContextObject final : CMPIContext, Object {
  static constexpr const char* kKind = "context";
  ContextObject(BrokerState& broker, std::vector<NamedValue> all);
  std::vector<NamedValue> entries;
};

struct SelectExpObject final : CMPISelectExp, Object {
  static constexpr const char* kKind = "selectExp";
  SelectExpObject(BrokerState& broker, std::string text);
  std::string query;
};

// What a provider hands back for one request.
struct ResultObject final : CMPIResult, Object {
  static constexpr const char* kKind = "result";
  explicit ResultObject(BrokerState& broker);
  std::vector<ObjectPath> paths;
  std::vector<Instance> instances;
  std::vector<Value> data;
  unsigned doneCalls = 0;
};

// The object behind a CMPI pointer. CMPI passes its objects as constants whatever is done to them.
template <typename T, typename Cmpi>
T& objectOf(const Cmpi* cmpi) {
  return *static_cast<T*>(const_cast<Cmpi*>(cmpi));
}

}  // namespace cmpihost
