#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/Broker.h"
#include "host/ClassDeclaration.h"
#include "host/Personality.h"
#include "host/Provider.h"

namespace cmpihost {

// One provider library in the hands of an object manager: the order of the calls, the threads on
// which they come and the shape of their arguments are those of its personality. Requests may be
// made by several threads at once; subscribing, idling and stopping by one.
class ObjectManager {
 public:
  // `classes`: what is registered. Throws HostError when the library can't be loaded.
  ObjectManager(Personality personality, std::vector<ClassDeclaration> classes, std::string library,
                std::string prefix);

  // Stops it.
  ~ObjectManager();
  ObjectManager(const ObjectManager&) = delete;
  ObjectManager& operator=(const ObjectManager&) = delete;

  const Personality& personality() const { return personality_; }
  Broker& broker() { return broker_; }
  Provider& provider() { return provider_; }

  // ---- Requests, as a client sends them.
  Reply enumerateInstanceNames(const ObjectPath& reference);
  Reply enumerateInstances(const ObjectPath& reference, const PropertyList& properties = {});
  Reply getInstance(const ObjectPath& path, const PropertyList& properties = {});

  // ---- Subscriptions. The status is what the subscriber is told.
  Status subscribe(const Filter& filter);
  Status unsubscribe(const Filter& filter);

  // Asks whether the provider can go, as managers do when it has not been used for a while; not
  // while there are subscriptions. The answers, in the order of the questions.
  std::vector<Status> idle();

  // Cleans everything up and lets the library go. True when it has really left the process, false
  // when it stays: because something pins it, or because this manager leaves that to the end of the
  // process. Stopping a second time does nothing. Throws HostError as Provider::unload() does.
  bool stop();

 private:
  const ClassDeclaration* registered(const std::string& nameSpace,
                                     const std::string& className) const;
  Reply request(const ObjectPath& typed, const std::function<Reply(const ObjectPath&)>& ask);
  ObjectPath asGiven(const ObjectPath& typed, const ClassDeclaration* declared) const;
  Value keyAsGiven(const Value& typed) const;
  Filter asGiven(const Filter& filter) const;
  void enable();
  void cleanUp();
  void run(const std::function<void()>& action) const;

  const Personality personality_;
  const std::vector<ClassDeclaration> classes_;
  Broker broker_;
  Provider provider_;
  unsigned filters_ = 0;
  bool enabled_ = false;
  bool stopped_ = false;
};

}  // namespace cmpihost
