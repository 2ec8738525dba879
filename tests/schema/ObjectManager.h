#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// The part of a CIM object manager that keeps subscriptions: CIM-XML by HTTP on the loopback.
//
// It judges what it is asked as the real ones do (unknown namespaces, references to nothing and
// second instances are refused) and keeps a list of what was wrong with a request itself.
class ObjectManager {
 public:
  enum class Layout { kOneLine, kLineForEachTag };

  // Knows the classes of indications in this namespace only.
  ObjectManager(std::string interopNamespace, Layout layout);
  ~ObjectManager();
  ObjectManager(const ObjectManager&) = delete;
  ObjectManager& operator=(const ObjectManager&) = delete;

  // "http://127.0.0.1:PORT"
  std::string url() const;

  // The instances that it holds, each as CLASS and the property texts of its creation.
  struct Held {
    std::string className;
    std::string instanceName;
    std::string created;
  };
  std::vector<Held> held() const;
  std::size_t count(const std::string& className) const;

  // What was not as the protocol wants it: headers, the form of the XML.
  std::vector<std::string> complaints() const;

 private:
  void serve();
  void serveOne(int connection);
  std::string answer(const std::string& head, const std::string& body);
  std::string perform(const std::string& method, const std::string& body);
  std::string create(const std::string& body);
  std::string list(const std::string& body) const;
  std::string remove(const std::string& body);
  bool holds(const std::string& instanceName) const;

  const std::string interop_;
  const Layout layout_;
  int listener_ = -1;
  unsigned port_ = 0;
  mutable std::mutex mutex_;
  std::vector<Held> held_;
  std::vector<std::string> complaints_;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};
