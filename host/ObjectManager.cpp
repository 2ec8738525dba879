#include "host/ObjectManager.h"

#include <algorithm>
#include <exception>
#include <future>
#include <iostream>
#include <list>
#include <thread>
#include <utility>

#include "host/HostError.h"

namespace cmpihost {
namespace {

BrokerOptions brokerOptions(const Personality& personality,
                            const std::vector<ClassDeclaration>& classes) {
  BrokerOptions options = personality.broker;
  if (personality.checksProperties) {
    options.checkedClasses = classes;
  }
  return options;
}

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

ObjectManager::ObjectManager(Personality personality, std::vector<ClassDeclaration> classes,
                             std::string library, std::string prefix)
    : personality_(std::move(personality)),
      classes_(std::move(classes)),
      broker_(brokerOptions(personality_, classes_)),
      provider_(broker_, std::move(library), std::move(prefix), personality_.binding) {}

ObjectManager::~ObjectManager() {
  try {
    stop();
  } catch (const HostError& error) {
    std::cerr << "cmpihost: " << error.what() << '\n';
  }
}

// On a thread of its own where the manager has such, on the caller's otherwise.
void ObjectManager::run(const std::function<void()>& action) const {
  if (personality_.requestThreads) {
    std::async(std::launch::async, action).get();
  } else {
    action();
  }
}

// ---- Requests ---------------------------------------------------------------------------------

const ClassDeclaration* ObjectManager::registered(const std::string& nameSpace,
                                                  const std::string& className) const {
  const auto found =
      std::find_if(classes_.begin(), classes_.end(), [&](const ClassDeclaration& declared) {
        return sameName(declared.nameSpace, nameSpace) && sameName(declared.className, className);
      });
  return found == classes_.end() ? nullptr : &*found;
}

Value ObjectManager::keyAsGiven(const Value& typed) const {
  if (typed.type() != CMPI_string || !typed.isText()) {
    return typed;
  }
  const std::string text = personality_.trimsKeys ? trimmed(typed.asText()) : typed.asText();
  const bool null = text.empty() && personality_.emptyKeyIsNull;
  const Value given = null ? Value::null(CMPI_string) : Value::string(text);
  return given.withState(typed.state()).withState(personality_.keyState);
}

ObjectPath ObjectManager::asGiven(const ObjectPath& typed, const ClassDeclaration* declared) const {
  ObjectPath given = typed;
  if (personality_.registeredSpelling && declared != nullptr) {
    given.nameSpace = declared->nameSpace;
    given.className = declared->className;
  }
  for (NamedValue& key : given.keys) {
    key.value = keyAsGiven(key.value);
  }
  return given;
}

Reply ObjectManager::request(const ObjectPath& typed,
                             const std::function<Reply(const ObjectPath&)>& ask) {
  const ClassDeclaration* const declared = registered(typed.nameSpace, typed.className);
  Reply reply;
  if (declared == nullptr && personality_.knowsItsClasses) {
    reply.status = {CMPI_RC_ERR_INVALID_CLASS, "no such class in this namespace"};
    return reply;
  }
  const ObjectPath given = asGiven(typed, declared);
  run([&] { reply = ask(given); });
  return reply;
}

Reply ObjectManager::enumerateInstanceNames(const ObjectPath& reference) {
  return request(reference, [this](const ObjectPath& given) {
    return provider_.enumerateInstanceNames(given);
  });
}

Reply ObjectManager::enumerateInstances(const ObjectPath& reference,
                                        const PropertyList& properties) {
  return request(reference, [&](const ObjectPath& given) {
    return provider_.enumerateInstances(given, properties);
  });
}

Reply ObjectManager::getInstance(const ObjectPath& path, const PropertyList& properties) {
  return request(path,
                 [&](const ObjectPath& given) { return provider_.getInstance(given, properties); });
}

// ---- Subscriptions ----------------------------------------------------------------------------

Filter ObjectManager::asGiven(const Filter& filter) const {
  if (!personality_.pathHasRegisteredClass) {
    return filter;
  }
  Filter given = filter;
  for (const ClassDeclaration& declared : classes_) {
    if (sameName(declared.className, filter.className) ||
        sameName(declared.superclass, filter.className)) {
      given.pathClass = declared.className;
    }
  }
  return given;
}

Status ObjectManager::subscribe(const Filter& filter) {
  const Filter given = asGiven(filter);
  Status answer;
  run([&] {
    if (personality_.authorises) {
      answer = provider_.authorizeFilter(given);
      if (!answer.ok()) {
        return;
      }
      static_cast<void>(provider_.mustPoll(given));
    }
    answer = provider_.activateFilter(given, 1);
  });
  if (!answer.ok()) {
    return answer;
  }
  ++filters_;
  if (!enabled_) {
    enable();
  }
  return answer;
}

void ObjectManager::enable() {
  enabled_ = true;
  if (personality_.enablesFromAnotherThread) {
    std::thread([this] { provider_.enableIndications(); }).join();
  } else {
    run([this] { provider_.enableIndications(); });
  }
}

Status ObjectManager::unsubscribe(const Filter& filter) {
  if (filters_ == 0) {
    return {CMPI_RC_ERR_NOT_FOUND, "there is no subscription"};
  }
  Status answer;
  run([&] { answer = provider_.deActivateFilter(asGiven(filter), 1); });
  --filters_;
  if (filters_ == 0 && personality_.disablesAfterLastFilter) {
    run([this] { provider_.disableIndications(); });
  }
  if (filters_ == 0 && !personality_.enablesOncePerProcess) {
    enabled_ = false;
  }
  return answer;
}

// ---- The end ----------------------------------------------------------------------------------

std::vector<Status> ObjectManager::idle() {
  std::vector<Status> answers;
  if (filters_ > 0) {
    return answers;
  }
  // On a thread of its own: it comes from the manager, not from a request.
  std::async(std::launch::async, [&] {
    if (provider_.instanceMI() != nullptr) {
      answers.push_back(provider_.cleanupInstanceMI(false));
    }
    const bool goesOn = answers.empty() || personality_.idleAsksEveryMI;
    if (goesOn && provider_.indicationMI() != nullptr) {
      answers.push_back(provider_.cleanupIndicationMI(false));
    }
  }).get();
  return answers;
}

void ObjectManager::cleanUp() {
  const auto instances = [this] {
    if (provider_.instanceMI() != nullptr) {
      provider_.cleanupInstanceMI(true);
    }
  };
  if (personality_.instanceMIFirst) {
    instances();
  }
  if (provider_.indicationMI() != nullptr) {
    if (personality_.disablesAtStop) {
      provider_.disableIndications();
    }
    provider_.cleanupIndicationMI(true);
  }
  if (!personality_.instanceMIFirst) {
    instances();
  }
}

bool ObjectManager::stop() {
  if (std::exchange(stopped_, true)) {
    return false;
  }
  std::list<std::future<void>> stops;
  const auto begin = [&] {
    stops.push_back(std::async(std::launch::async, [this] { cleanUp(); }));
  };
  for (unsigned i = 0; i < personality_.stopThreads; ++i) {
    begin();
  }
  while (personality_.stopRepeats &&
         stops.front().wait_for(*personality_.stopRepeats) != std::future_status::ready) {
    begin();
  }
  for (std::future<void>& done : stops) {
    done.get();
  }
  if (personality_.exitsInsteadOfUnloading) {
    provider_.leaveLoaded();
    return false;
  }
  return provider_.close();
}

}  // namespace cmpihost
