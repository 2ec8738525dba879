#pragma once

#include <cmpi/cmpift.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/Broker.h"
#include "host/SharedLibrary.h"
#include "host/Status.h"

namespace cmpihost {

// What a provider answered to one request.
struct Reply {
  Status status;
  std::vector<ObjectPath> paths;
  std::vector<Instance> instances;
  std::vector<Value> data;
  unsigned doneCalls = 0;  // how often it said that it was done; once is right
};

// A subscription as it reaches a provider. The class is that of the query; some managers give
// another one in the path.
struct Filter {
  std::string className;
  std::string nameSpace = "root/cimv2";
  std::string query = "SELECT * FROM " + className;
  std::optional<std::string> owner = {};
  std::optional<std::string> pathClass = {};
};

// The properties that a client asks for; nothing for all.
using PropertyList = std::optional<std::vector<std::string>>;

// One provider library, loaded and asked as an object manager does it. Each request runs on the
// calling thread, with a context of its own; the objects of the request are gone when it returns.
// Requests, factories and clean-ups may be called by several threads at once; loading and unloading
// by one, when all others are done.
class Provider {
 public:
  // Loads the library; looks up `<prefix>_Create_InstanceMI` and `<prefix>_Create_IndicationMI`
  // when they are first needed. Throws HostError.
  Provider(Broker& broker, std::string library, std::string prefix,
           SharedLibrary::Binding binding = SharedLibrary::Binding::kLocal);

  // Closes it. An error that close() would throw goes to standard error.
  ~Provider();
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;

  Broker& broker() const { return broker_; }
  const std::string& path() const { return library_.path(); }

  // ---- The factories. A request calls its factory by itself the first time; calling one again is
  // what a manager does that registers two classes. Throw HostError for a missing symbol or when
  // the factory answers null.
  Status createInstanceMI();
  Status createIndicationMI();

  // The MI that the last factory call gave, null before.
  const CMPIInstanceMI* instanceMI() const { return instanceMI_; }
  const CMPIIndicationMI* indicationMI() const { return indicationMI_; }

  // ---- Instances.
  Reply enumerateInstanceNames(const ObjectPath& reference);
  Reply enumerateInstances(const ObjectPath& reference, const PropertyList& properties = {});
  Reply getInstance(const ObjectPath& path, const PropertyList& properties = {});
  Reply createInstance(const ObjectPath& path, const Instance& instance);
  Reply modifyInstance(const ObjectPath& path, const Instance& instance,
                       const PropertyList& properties = {});
  Reply deleteInstance(const ObjectPath& path);
  Reply execQuery(const ObjectPath& reference, const std::string& query,
                  const std::string& language);

  // ---- Indications.
  Status authorizeFilter(const Filter& filter);
  Status mustPoll(const Filter& filter);
  Status activateFilter(const Filter& filter, CMPIBoolean first);
  Status deActivateFilter(const Filter& filter, CMPIBoolean last);
  void enableIndications();
  void disableIndications();

  // ---- The end. A terminating clean-up takes back one factory call; the MI can be asked and
  // cleaned up again afterwards, as some managers do. Throw HostError before the factory was
  // called.
  Status cleanupInstanceMI(bool terminating);
  Status cleanupIndicationMI(bool terminating);

  // Waits for the threads that the provider started through the broker, then gives the library up.
  // True when it has really left the process. Throws HostError when a thread does not end within
  // half a minute; the library then stays.
  bool unload();

  // Cleans up what was created and not cleaned up, indications first, then unloads.
  bool close();

  // Forgets the MIs and leaves the library in the process for good.
  void leaveLoaded();

  // The address of an exported name of the library. Throws HostError.
  void* symbol(const std::string& name) const { return library_.symbol(name); }

 private:
  void forget();
  CMPIInstanceMI* neededInstanceMI();
  CMPIIndicationMI* neededIndicationMI();

  Broker& broker_;
  SharedLibrary library_;
  const std::string prefix_;
  std::mutex factoryMutex_;  // around the factory calls that requests make by themselves
  std::atomic<CMPIInstanceMI*> instanceMI_{nullptr};
  std::atomic<CMPIIndicationMI*> indicationMI_{nullptr};
  std::atomic<unsigned> openInstanceMIs_{0};
  std::atomic<unsigned> openIndicationMIs_{0};
};

}  // namespace cmpihost
