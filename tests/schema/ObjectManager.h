#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <httplib.h>
#include <pugixml.hpp>

// The part of a CIM object manager that keeps subscriptions: CIM-XML by HTTP on the loopback.
//
// It answers as sfcb's interop provider does (interopProvider.c of 1.3): an unknown namespace is 3,
// what is there already 11, what is gone 6, a filter in use 1. It keeps a list of what was wrong
// with a request.
class ObjectManager {
 public:
  enum class Layout { kOneLine, kLineForEachTag };

  // Knows the classes of indications in this namespace only.
  explicit ObjectManager(std::string interopNamespace, Layout layout = Layout::kOneLine);
  ~ObjectManager();
  ObjectManager(const ObjectManager&) = delete;
  ObjectManager& operator=(const ObjectManager&) = delete;

  // "http://127.0.0.1:PORT"
  std::string url() const;

  // The instances that it holds, each with the request that created it.
  struct Held {
    std::string className;
    std::string instanceName;
    std::string created;
  };
  std::vector<Held> held() const;
  std::size_t count(const std::string& className) const;

  // What was not as the protocol wants it: headers, the form of the XML.
  std::vector<std::string> complaints() const;

  // What others do just before the next request of this method for this class is carried out.
  void meanwhile(const std::string& method, const std::string& className,
                 std::function<void()> action);

  // As OpenPegasus 2.14.4 does while the indication's class is missing: subscriptions are listed,
  // and one that is deleted brings the server down later, which is a complaint here.
  void forgetIndicationClass();

 private:
  void serve(const httplib::Request& request, httplib::Response& response);
  void judge(const httplib::Request& request, const pugi::xml_node& call);
  void letOthersAct(const std::string& method, const std::string& className);
  void perform(const pugi::xml_node& call, pugi::xml_node reply, const std::string& body);
  void create(const pugi::xml_node& call, pugi::xml_node reply, const std::string& body);
  void list(const pugi::xml_node& call, pugi::xml_node reply) const;
  void remove(const pugi::xml_node& call, pugi::xml_node reply);
  bool holds(const std::string& instanceName) const;

  const std::string interop_;
  const Layout layout_;
  mutable std::mutex mutex_;
  std::vector<Held> held_;
  std::vector<std::string> complaints_;
  bool classForgotten_ = false;
  std::string awaited_;  // method and class that the action waits for
  std::function<void()> action_;
  httplib::Server server_;
  int port_ = 0;
  std::thread thread_;
};
