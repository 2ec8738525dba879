#include "host/Objects.h"

#include <utility>

#include "host/BrokerState.h"

namespace cmpihost {

Object::Object(BrokerState& broker, const char* kind)
    : broker_(broker), kind_(kind), label_(broker.nextLabel(kind)) {
  ++broker_.liveObjects;
}

Object::~Object() { --broker_.liveObjects; }

std::unique_ptr<Object> Arena::take(const Object* object) {
  const std::lock_guard lock(mutex_);
  const auto found = objects_.find(object);
  if (found == objects_.end()) {
    return nullptr;
  }
  std::unique_ptr<Object> taken = std::move(found->second);
  objects_.erase(found);
  return taken;
}

// Some providers read the characters of a string behind `hdl`, as older brokers keep them there.
StringObject::StringObject(BrokerState& broker, std::optional<std::string> characters)
    : CMPIString{nullptr, &stringTable}, Object(broker, kKind), text(std::move(characters)) {
  hdl = text ? text->data() : nullptr;
}

DateTimeObject::DateTimeObject(BrokerState& broker, DateTime moment)
    : CMPIDateTime{this, &dateTimeTable}, Object(broker, kKind), value(moment) {}

ObjectPathObject::ObjectPathObject(BrokerState& broker, ObjectPath named)
    : CMPIObjectPath{this, &objectPathTable}, Object(broker, kKind), path(std::move(named)) {}

InstanceObject::InstanceObject(BrokerState& broker, Instance built)
    : CMPIInstance{this, &instanceTable}, Object(broker, kKind), instance(std::move(built)) {}

ContextObject::ContextObject(BrokerState& broker, std::vector<NamedValue> all)
    : CMPIContext{this, &contextTable}, Object(broker, kKind), entries(std::move(all)) {}

SelectExpObject::SelectExpObject(BrokerState& broker, std::string text)
    : CMPISelectExp{nullptr, nullptr}, Object(broker, kKind), query(std::move(text)) {
  hdl = query.data();
}

ResultObject::ResultObject(BrokerState& broker)
    : CMPIResult{this, &resultTable}, Object(broker, kKind) {}

}  // namespace cmpihost
