#include "host/Provider.h"

#include <chrono>
#include <iostream>
#include <mutex>
#include <utility>

#include "host/BrokerState.h"
#include "host/HostError.h"
#include "host/Marshal.h"

namespace cmpihost {
namespace {

constexpr std::chrono::seconds kThreadsMustEndWithin{30};

// What a request has while it runs: a scope for what is made in it, and a context.
class Request {
 public:
  explicit Request(Broker& broker)
      : state_(broker.state()),
        scope_(state_),
        context_(state_.create<ContextObject>(state_.options.contextEntries)),
        result_(state_.create<ResultObject>()) {}

  const CMPIContext* context() const { return context_; }
  const CMPIResult* result() const { return result_; }

  const CMPIObjectPath* path(const ObjectPath& path) {
    return state_.create<ObjectPathObject>(path);
  }
  const CMPIInstance* instance(const Instance& instance) {
    return state_.create<InstanceObject>(instance);
  }
  const CMPISelectExp* selectExp(const Filter& filter) {
    return state_.create<SelectExpObject>(filter.query);
  }

  Reply reply(const CMPIStatus& status) {
    return {statusFromCmpi(status), std::move(result_->paths), std::move(result_->instances),
            std::move(result_->data), result_->doneCalls};
  }

 private:
  BrokerState& state_;
  ScopeGuard scope_;
  ContextObject* context_;
  ResultObject* result_;
};

// A property list in the form of CMPI: null, or pointers up to a null pointer.
class PropertyPointers {
 public:
  explicit PropertyPointers(const PropertyList& properties) : all_(!properties) {
    if (properties) {
      for (const std::string& name : *properties) {
        names_.push_back(name.c_str());
      }
    }
    names_.push_back(nullptr);
  }

  const char** get() { return all_ ? nullptr : names_.data(); }

 private:
  const bool all_;
  std::vector<const char*> names_;
};

const char* ownerOf(const Filter& filter) { return filter.owner ? filter.owner->c_str() : nullptr; }

ObjectPath pathOf(const Filter& filter) {
  return {filter.nameSpace, filter.pathClass.value_or(filter.className)};
}

// The slot without the result that newer headers give it: it is called with these five arguments
// whatever the headers say, as all brokers do.
using MustPoll = CMPIStatus (*)(CMPIIndicationMI*, const CMPIContext*, const CMPISelectExp*,
                                const char*, const CMPIObjectPath*);

MustPoll mustPollOf(const CMPIIndicationMI* mi) {
  return reinterpret_cast<MustPoll>(reinterpret_cast<void (*)()>(mi->ft->mustPoll));
}

// Never below zero, also when managers clean up more often than they created.
void takeBackOne(std::atomic<unsigned>& open) {
  unsigned count = open;
  while (count > 0 && !open.compare_exchange_weak(count, count - 1)) {
  }
}

template <typename MI>
MI* callFactory(const SharedLibrary& library, const std::string& name, Broker& broker,
                Status& answer) {
  using Factory = MI* (*)(const CMPIBroker*, const CMPIContext*, CMPIStatus*);
  const auto factory = reinterpret_cast<Factory>(library.symbol(name));
  Request request(broker);
  CMPIStatus status{CMPI_RC_OK, nullptr};
  MI* const mi = factory(broker.cmpi(), request.context(), &status);
  answer = statusFromCmpi(status);
  if (mi == nullptr || mi->ft == nullptr) {
    throw HostError(name + " of " + library.path() + " answers null, status " + answer.describe());
  }
  return mi;
}

}  // namespace

Provider::Provider(Broker& broker, std::string library, std::string prefix,
                   SharedLibrary::Binding binding)
    : broker_(broker), library_(std::move(library), binding), prefix_(std::move(prefix)) {}

Provider::~Provider() {
  try {
    close();
  } catch (const HostError& error) {
    std::cerr << "cmpihost: " << error.what() << '\n';
  }
}

Status Provider::createInstanceMI() {
  Status answer;
  instanceMI_ =
      callFactory<CMPIInstanceMI>(library_, prefix_ + "_Create_InstanceMI", broker_, answer);
  ++openInstanceMIs_;
  return answer;
}

Status Provider::createIndicationMI() {
  Status answer;
  indicationMI_ =
      callFactory<CMPIIndicationMI>(library_, prefix_ + "_Create_IndicationMI", broker_, answer);
  ++openIndicationMIs_;
  return answer;
}

CMPIInstanceMI* Provider::neededInstanceMI() {
  const std::lock_guard lock(factoryMutex_);
  if (instanceMI_ == nullptr) {
    createInstanceMI();
  }
  return instanceMI_;
}

CMPIIndicationMI* Provider::neededIndicationMI() {
  const std::lock_guard lock(factoryMutex_);
  if (indicationMI_ == nullptr) {
    createIndicationMI();
  }
  return indicationMI_;
}

// ---- Instances --------------------------------------------------------------------------------

Reply Provider::enumerateInstanceNames(const ObjectPath& reference) {
  CMPIInstanceMI* const mi = neededInstanceMI();
  Request request(broker_);
  return request.reply(mi->ft->enumerateInstanceNames(mi, request.context(), request.result(),
                                                      request.path(reference)));
}

Reply Provider::enumerateInstances(const ObjectPath& reference, const PropertyList& properties) {
  CMPIInstanceMI* const mi = neededInstanceMI();
  Request request(broker_);
  PropertyPointers wanted(properties);
  return request.reply(mi->ft->enumerateInstances(mi, request.context(), request.result(),
                                                  request.path(reference), wanted.get()));
}

Reply Provider::getInstance(const ObjectPath& path, const PropertyList& properties) {
  CMPIInstanceMI* const mi = neededInstanceMI();
  Request request(broker_);
  PropertyPointers wanted(properties);
  return request.reply(mi->ft->getInstance(mi, request.context(), request.result(),
                                           request.path(path), wanted.get()));
}

Reply Provider::createInstance(const ObjectPath& path, const Instance& instance) {
  CMPIInstanceMI* const mi = neededInstanceMI();
  Request request(broker_);
  return request.reply(mi->ft->createInstance(mi, request.context(), request.result(),
                                              request.path(path), request.instance(instance)));
}

Reply Provider::modifyInstance(const ObjectPath& path, const Instance& instance,
                               const PropertyList& properties) {
  CMPIInstanceMI* const mi = neededInstanceMI();
  Request request(broker_);
  PropertyPointers wanted(properties);
  return request.reply(mi->ft->modifyInstance(mi, request.context(), request.result(),
                                              request.path(path), request.instance(instance),
                                              wanted.get()));
}

Reply Provider::deleteInstance(const ObjectPath& path) {
  CMPIInstanceMI* const mi = neededInstanceMI();
  Request request(broker_);
  return request.reply(
      mi->ft->deleteInstance(mi, request.context(), request.result(), request.path(path)));
}

Reply Provider::execQuery(const ObjectPath& reference, const std::string& query,
                          const std::string& language) {
  CMPIInstanceMI* const mi = neededInstanceMI();
  Request request(broker_);
  return request.reply(mi->ft->execQuery(mi, request.context(), request.result(),
                                         request.path(reference), query.c_str(), language.c_str()));
}

// ---- Indications ------------------------------------------------------------------------------

Status Provider::authorizeFilter(const Filter& filter) {
  CMPIIndicationMI* const mi = neededIndicationMI();
  Request request(broker_);
  return statusFromCmpi(mi->ft->authorizeFilter(mi, request.context(), request.selectExp(filter),
                                                filter.className.c_str(),
                                                request.path(pathOf(filter)), ownerOf(filter)));
}

Status Provider::mustPoll(const Filter& filter) {
  CMPIIndicationMI* const mi = neededIndicationMI();
  Request request(broker_);
  return statusFromCmpi(mustPollOf(mi)(mi, request.context(), request.selectExp(filter),
                                       filter.className.c_str(), request.path(pathOf(filter))));
}

Status Provider::activateFilter(const Filter& filter, CMPIBoolean first) {
  CMPIIndicationMI* const mi = neededIndicationMI();
  Request request(broker_);
  return statusFromCmpi(mi->ft->activateFilter(mi, request.context(), request.selectExp(filter),
                                               filter.className.c_str(),
                                               request.path(pathOf(filter)), first));
}

Status Provider::deActivateFilter(const Filter& filter, CMPIBoolean last) {
  CMPIIndicationMI* const mi = neededIndicationMI();
  Request request(broker_);
  return statusFromCmpi(mi->ft->deActivateFilter(mi, request.context(), request.selectExp(filter),
                                                 filter.className.c_str(),
                                                 request.path(pathOf(filter)), last));
}

// A status that newer interfaces let these two return is of no interest to a broker.

void Provider::enableIndications() {
  CMPIIndicationMI* const mi = neededIndicationMI();
  Request request(broker_);
  static_cast<void>(mi->ft->enableIndications(mi, request.context()));
}

void Provider::disableIndications() {
  CMPIIndicationMI* const mi = neededIndicationMI();
  Request request(broker_);
  static_cast<void>(mi->ft->disableIndications(mi, request.context()));
}

// ---- The end ----------------------------------------------------------------------------------

Status Provider::cleanupInstanceMI(bool terminating) {
  CMPIInstanceMI* const mi = instanceMI_;
  if (mi == nullptr) {
    throw HostError("there is no instance MI to clean up");
  }
  Request request(broker_);
  if (terminating) {
    takeBackOne(openInstanceMIs_);
  }
  return statusFromCmpi(mi->ft->cleanup(mi, request.context(), terminating ? 1 : 0));
}

Status Provider::cleanupIndicationMI(bool terminating) {
  CMPIIndicationMI* const mi = indicationMI_;
  if (mi == nullptr) {
    throw HostError("there is no indication MI to clean up");
  }
  Request request(broker_);
  if (terminating) {
    takeBackOne(openIndicationMIs_);
  }
  return statusFromCmpi(mi->ft->cleanup(mi, request.context(), terminating ? 1 : 0));
}

bool Provider::close() {
  while (openIndicationMIs_ > 0) {
    cleanupIndicationMI(true);
  }
  while (openInstanceMIs_ > 0) {
    cleanupInstanceMI(true);
  }
  return unload();
}

bool Provider::unload() {
  if (!broker_.waitForThreads(kThreadsMustEndWithin)) {
    library_.keep();
    throw HostError("a thread of " + library_.path() + " does not end; the library stays loaded");
  }
  forget();
  return library_.close();
}

void Provider::leaveLoaded() {
  forget();
  library_.keep();
}

void Provider::forget() {
  instanceMI_ = nullptr;
  indicationMI_ = nullptr;
  openInstanceMIs_ = 0;
  openIndicationMIs_ = 0;
}

}  // namespace cmpihost
