#include "tests/provider/RecordingBroker.h"

#include <cstring>
#include <stdexcept>

#include "tests/provider/Allocations.h"
#include "tests/provider/Events.h"

using events::format;

CMPIContextFT RecordingBroker::contextTable{};
CMPIResultFT RecordingBroker::resultTable{};
CMPIStringFT RecordingBroker::stringTable{};
CMPIInstanceFT RecordingBroker::instanceTable_{};
CMPIObjectPathFT RecordingBroker::pathTable{};
CMPIDateTimeFT RecordingBroker::dateTimeTable{};
RecordingBroker* RecordingBroker::current = nullptr;

template <>
void RecordingBroker::setTable(Thing<CMPIContext>& thing) {
  thing.ft = &contextTable;
}
template <>
void RecordingBroker::setTable(Thing<CMPIResult>& thing) {
  thing.ft = &resultTable;
}
template <>
void RecordingBroker::setTable(Thing<CMPIString>& thing) {
  thing.ft = &stringTable;
}
template <>
void RecordingBroker::setTable(Thing<CMPIInstance>& thing) {
  thing.ft = &instanceTable_;
}
template <>
void RecordingBroker::setTable(Thing<CMPIObjectPath>& thing) {
  thing.ft = &pathTable;
}
template <>
void RecordingBroker::setTable(Thing<CMPIDateTime>& thing) {
  thing.ft = &dateTimeTable;
}

template <typename Cmpi>
RecordingBroker::Thing<Cmpi>* RecordingBroker::make(const std::string& kind, bool numbered) {
  const std::lock_guard lock(mutex_);
  auto owned = std::make_unique<Owned<Cmpi>>();
  Thing<Cmpi>& thing = owned->thing;
  thing.hdl = &thing;
  setTable(thing);
  thing.owner = this;
  thing.label = numbered ? kind + std::to_string(++labels_[kind]) : kind;
  things_.push_back(std::move(owned));
  return &thing;
}

template <typename Cmpi>
RecordingBroker::Thing<Cmpi>& RecordingBroker::thingOf(const Cmpi* cmpi) {
  auto& thing = *static_cast<Thing<Cmpi>*>(const_cast<Cmpi*>(cmpi));
  if (thing.hdl != &thing) {
    throw std::logic_error("a call on something that isn't an object of this broker");
  }
  return thing;
}

/// The label of an argument; a released one is against the rules.
template <typename Cmpi>
std::string RecordingBroker::name(const Cmpi* cmpi) {
  if (cmpi == nullptr) {
    return "null";
  }
  const Thing<Cmpi>& thing = thingOf(cmpi);
  if (thing.released) {
    violate(thing.label + " was used after its release");
  }
  return thing.label;
}

RecordingBroker& RecordingBroker::of(const CMPIBroker* broker) {
  if (broker == nullptr || broker != &current->broker_) {
    throw std::logic_error("a call with another broker than the provider was given");
  }
  return *static_cast<RecordingBroker*>(const_cast<void*>(static_cast<const void*>(broker->hdl)));
}

RecordingBroker::RecordingBroker(const char* name) {
  fillTables();
  current = this;
  bft_.brokerName = name;
  bft_.prepareAttachThread = [](const CMPIBroker* broker, const CMPIContext* context) {
    const allocations::Exempt exempt;
    RecordingBroker& self = of(broker);
    const std::string from = self.name(context);
    auto* prepared = self.make<CMPIContext>("prepared");
    const Answer answer =
        self.enter("prepareAttachThread", "prepareAttachThread(" + from + ") = " + prepared->label);
    return answer.null ? nullptr : static_cast<CMPIContext*>(prepared);
  };
  bft_.attachThread = [](const CMPIBroker* broker, const CMPIContext* context) {
    const allocations::Exempt exempt;
    RecordingBroker& self = of(broker);
    const Answer answer = self.enter("attachThread", "attachThread(" + self.name(context) + ")");
    if (answer.status.rc == CMPI_RC_OK) {
      if (thingOf(context).attached || thingOf(context).detached) {
        self.violate(thingOf(context).label + " was attached twice");
      }
      thingOf(context).attached = true;
    }
    return answer.status;
  };
  bft_.detachThread = [](const CMPIBroker* broker, const CMPIContext* context) {
    const allocations::Exempt exempt;
    RecordingBroker& self = of(broker);
    Thing<CMPIContext>& thing = thingOf(context);
    if (thing.detached || (thing.released && thing.attached)) {
      self.violate(thing.label + " was detached twice or after its release");
    }
    thing.detached = true;
    return self.enter("detachThread", "detachThread(" + thing.label + ")").status;
  };
  bft_.deliverIndication = [](const CMPIBroker* broker, const CMPIContext* context,
                              const char* nameSpace, const CMPIInstance* indication) {
    const allocations::Exempt exempt;
    RecordingBroker& self = of(broker);
    if (!thingOf(context).attached || thingOf(context).detached) {
      self.violate("an indication was delivered by a thread that isn't attached");
    }
    return self
        .enter("deliverIndication", "deliverIndication(" + self.name(context) + ", " + nameSpace +
                                        ", " + self.name(indication) + ")")
        .status;
  };

  eft_.ftVersion = kEncapsulationVersion;
  eft_.newObjectPath = [](const CMPIBroker* broker, const char* nameSpace, const char* className,
                          CMPIStatus* rc) {
    const allocations::Exempt exempt;
    RecordingBroker& self = of(broker);
    auto* path = self.make<CMPIObjectPath>("path");
    const Answer answer = self.enter("newObjectPath", std::string("newObjectPath(") + nameSpace +
                                                          ", " + className + ") = " + path->label);
    self.put(rc, answer.status);
    return answer.null ? nullptr : static_cast<CMPIObjectPath*>(path);
  };
  eft_.newInstance = [](const CMPIBroker* broker, const CMPIObjectPath* path, CMPIStatus* rc) {
    const allocations::Exempt exempt;
    RecordingBroker& self = of(broker);
    auto* instance = self.make<CMPIInstance>("instance");
    const Answer answer =
        self.enter("newInstance", "newInstance(" + self.name(path) + ") = " + instance->label);
    self.put(rc, answer.status);
    return answer.null ? nullptr : static_cast<CMPIInstance*>(instance);
  };
  eft_.newDateTime = [](const CMPIBroker* broker, CMPIStatus* rc) {
    const allocations::Exempt exempt;
    RecordingBroker& self = of(broker);
    auto* moment = self.make<CMPIDateTime>("dateTime");
    const Answer answer = self.enter("newDateTime", "newDateTime() = " + moment->label);
    self.put(rc, answer.status);
    return answer.null ? nullptr : static_cast<CMPIDateTime*>(moment);
  };

  xft_.newThread = [](CMPIThreadFunc start, void* parameter, int detached) -> CMPI_THREAD_TYPE {
    const allocations::Exempt exempt;
    RecordingBroker& self = *current;
    {
      const std::lock_guard lock(self.mutex_);
      self.threads_.push_back({start, parameter});  // it owns its block, whatever the call answers
    }
    const Answer answer =
        self.enter("newThread", "newThread(detached=" + std::to_string(detached) + ")");
    return answer.null ? nullptr : &self;
  };

  broker_.hdl = this;
  broker_.bft = &bft_;
  broker_.eft = &eft_;
  broker_.xft = &xft_;
}

RecordingBroker::~RecordingBroker() { current = nullptr; }

void RecordingBroker::fillTables() {
  contextTable.release = [](CMPIContext* context) {
    const allocations::Exempt exempt;
    Thing<CMPIContext>& thing = thingOf(static_cast<const CMPIContext*>(context));
    if (thing.released) {
      thing.owner->violate(thing.label + " was released twice");
    }
    thing.released = true;
    return thing.owner->enter("release", thing.label + ".release()").status;
  };

  resultTable.returnInstance = [](const CMPIResult* result, const CMPIInstance* instance) {
    const allocations::Exempt exempt;
    RecordingBroker& self = *thingOf(result).owner;
    return self
        .enter("returnInstance", self.name(result) + ".returnInstance(" + self.name(instance) + ")")
        .status;
  };
  resultTable.returnObjectPath = [](const CMPIResult* result, const CMPIObjectPath* path) {
    const allocations::Exempt exempt;
    RecordingBroker& self = *thingOf(result).owner;
    return self
        .enter("returnObjectPath", self.name(result) + ".returnObjectPath(" + self.name(path) + ")")
        .status;
  };
  resultTable.returnDone = [](const CMPIResult* result) {
    const allocations::Exempt exempt;
    RecordingBroker& self = *thingOf(result).owner;
    return self.enter("returnDone", self.name(result) + ".returnDone()").status;
  };

  stringTable.getCharPtr = [](const CMPIString* string, CMPIStatus* rc) -> const char* {
    const allocations::Exempt exempt;
    const Thing<CMPIString>& thing = thingOf(string);
    CMPIStatus status = {CMPI_RC_OK, nullptr};
    if (thing.recorded) {
      const Answer answer = thing.owner->enter("getCharPtr", thing.label + ".getCharPtr()");
      status = answer.status;
    }
    thing.owner->put(rc, status);
    return thing.characters && status.rc == CMPI_RC_OK ? thing.characters->c_str() : nullptr;
  };

  instanceTable_.setProperty = [](const CMPIInstance* instance, const char* property,
                                  const CMPIValue* value, CMPIType type) {
    const allocations::Exempt exempt;
    RecordingBroker& self = *thingOf(instance).owner;
    return self
        .enter("setProperty", self.name(instance) + ".setProperty(" + property + ", " +
                                  self.describe(value, type) + ")")
        .status;
  };

  pathTable.getNameSpace = [](const CMPIObjectPath* path, CMPIStatus* rc) {
    if (rc != nullptr) {
      *rc = {CMPI_RC_OK, nullptr};
    }
    return thingOf(path).nameSpace;
  };
  pathTable.getClassName = [](const CMPIObjectPath* path, CMPIStatus* rc) {
    if (rc != nullptr) {
      *rc = {CMPI_RC_OK, nullptr};
    }
    return thingOf(path).className;
  };
  pathTable.addKey = [](const CMPIObjectPath* path, const char* key, const CMPIValue* value,
                        const CMPIType type) {
    const allocations::Exempt exempt;
    RecordingBroker& self = *thingOf(path).owner;
    return self
        .enter("addKey",
               self.name(path) + ".addKey(" + key + ", " + self.describe(value, type) + ")")
        .status;
  };
  pathTable.getKey = [](const CMPIObjectPath* path, const char* key, CMPIStatus* rc) {
    const allocations::Exempt exempt;
    const Thing<CMPIObjectPath>& thing = thingOf(path);
    const Answer answer =
        thing.owner->enter("getKey", thing.label + ".getKey(" + std::string(key) + ")");
    thing.owner->put(rc, answer.status);
    const auto found = thing.keys.find(key);
    if (answer.status.rc == CMPI_RC_OK && found != thing.keys.end()) {
      return found->second;
    }
    if (answer.status.rc == CMPI_RC_OK) {
      rc->rc = CMPI_RC_ERR_NO_SUCH_PROPERTY;
    }
    return CMPIData{CMPI_null, CMPI_notFound, {}};
  };
}

const CMPIContext* RecordingBroker::context() { return make<CMPIContext>("context", false); }

const CMPIResult* RecordingBroker::result() { return make<CMPIResult>("result", false); }

CMPIString* RecordingBroker::quietString(const char* characters) {
  auto* string = make<CMPIString>("quiet");
  if (characters != nullptr) {
    string->characters = characters;
  }
  return string;
}

CMPIString* RecordingBroker::string(const char* characters) {
  CMPIString* string = quietString(characters);
  thingOf(string).label = "string";
  thingOf(string).recorded = true;
  return string;
}

CMPIObjectPath* RecordingBroker::path(const char* nameSpace, const char* className) {
  auto* path = make<CMPIObjectPath>("request", false);
  path->nameSpace = nameSpace != nullptr ? quietString(nameSpace) : nullptr;
  path->className = className != nullptr ? quietString(className) : nullptr;
  return path;
}

CMPIObjectPath* RecordingBroker::path(const std::string& deviceID) {
  CMPIData key{CMPI_string, CMPI_keyValue, {}};
  key.value.string = string(deviceID.c_str());
  return pathWithKey(key);
}

CMPIObjectPath* RecordingBroker::pathWithKey(CMPIData key) {
  CMPIObjectPath* made = path("root/cimv2", "KAV_SSDLifeMonitor");
  thingOf(made).keys["DeviceID"] = key;
  return made;
}

void RecordingBroker::fail(const std::string& call, unsigned nth, CMPIrc rc, const char* message) {
  plans_.push_back({call, nth, rc, message, false});
}

void RecordingBroker::failAny(unsigned nth, CMPIrc rc) {
  failedCall_.clear();
  plans_.push_back({"", nth, rc, nullptr, false});
}

void RecordingBroker::answerNull(const std::string& call, unsigned nth) {
  plans_.push_back({call, nth, std::nullopt, nullptr, false});
}

void RecordingBroker::throwFrom(const std::string& call, unsigned nth) {
  plans_.push_back({call, nth, std::nullopt, nullptr, true});
}

RecordingBroker::Answer RecordingBroker::enter(const std::string& call, const std::string& text) {
  const std::lock_guard lock(mutex_);
  events::add("broker: " + text);
  Answer answer = {{CMPI_RC_OK, nullptr}, false};
  const bool hasStatus = call != "prepareAttachThread" && call != "newThread";
  for (Plan& plan : plans_) {
    if ((plan.call.empty() ? !hasStatus : plan.call != call) || ++plan.seen != plan.nth) {
      continue;
    }
    failedCall_ = text;
    if (plan.throws) {
      throw std::runtime_error("from the broker");
    }
    if (plan.rc) {
      answer.status.rc = *plan.rc;
      answer.status.msg = plan.message != nullptr ? quietString(plan.message) : nullptr;
    }
    answer.null = true;
  }
  return answer;
}

const void* RecordingBroker::address(const std::string& label) const {
  const std::lock_guard lock(mutex_);
  for (const auto& thing : things_) {
    if (thing->label() == label) {
      return thing->address();
    }
  }
  throw std::logic_error("no object " + label);
}

void RecordingBroker::put(CMPIStatus* rc, const CMPIStatus& status) const {
  if (rc == nullptr || (terse_ && status.rc == CMPI_RC_OK)) {
    return;
  }
  rc->rc = status.rc;
  if (!terse_ || status.msg != nullptr) {
    rc->msg = status.msg;
  }
}

void RecordingBroker::violate(const std::string& text) {
  const std::lock_guard lock(mutex_);
  violations_.push_back(text);
}

std::vector<std::string> RecordingBroker::violations() const {
  const std::lock_guard lock(mutex_);
  return violations_;
}

std::string RecordingBroker::describe(const CMPIValue* value, CMPIType type) {
  switch (type) {
    case CMPI_chars:
      // The characters themselves stand where the value would.
      return format("chars \"%s\"", reinterpret_cast<const char*>(value));
    case CMPI_uint8:
      return format("uint8 %u", value->uint8);
    case CMPI_uint64:
      return format("uint64 %llu", value->uint64);
    case CMPI_boolean:
      return format("boolean %u", value->boolean);
    case CMPI_dateTime:
      return "dateTime " + name(static_cast<const CMPIDateTime*>(value->dateTime));
    default:
      return format("type 0x%x", type);
  }
}

std::size_t RecordingBroker::waitingThreads() const {
  const std::lock_guard lock(mutex_);
  return threads_.size();
}

void RecordingBroker::runThread() {
  Thread thread{};
  {
    const std::lock_guard lock(mutex_);
    thread = threads_.front();
    threads_.pop_front();
  }
  if (thread.start(thread.parameter) != nullptr) {
    violate("a thread ended with a result");
  }
}
