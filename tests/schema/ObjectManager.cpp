#include "tests/schema/ObjectManager.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

std::string text(const pugi::xml_node& node, unsigned format = pugi::format_raw) {
  std::ostringstream out;
  node.print(out, "", format | pugi::format_no_declaration);
  return out.str();
}

void refuse(pugi::xml_node reply, int code, const char* description) {
  pugi::xml_node error = reply.append_child("ERROR");
  error.append_attribute("CODE") = code;
  error.append_attribute("DESCRIPTION") = description;
}

pugi::xml_node parameter(const pugi::xml_node& call, const char* name) {
  return call.find_child_by_attribute("IPARAMVALUE", "NAME", name);
}

std::string namespaceOf(const pugi::xml_node& call) {
  std::string name;
  for (const pugi::xml_node& part : call.child("LOCALNAMESPACEPATH")) {
    name += (name.empty() ? "" : "/") + std::string(part.attribute("NAME").value());
  }
  return name;
}

// The class that a call is about, in whichever of its ways it says so.
std::string classOf(const pugi::xml_node& call) {
  const pugi::xml_node said = call.find_node([](const pugi::xml_node& node) {
    return node.attribute("CLASSNAME") || std::string(node.name()) == "CLASSNAME";
  });
  return said.attribute(said.attribute("CLASSNAME") ? "CLASSNAME" : "NAME").value();
}

pugi::xml_node property(const pugi::xml_node& instance, const char* name) {
  return instance.find_child_by_attribute("NAME", name).first_child();
}

void addKey(pugi::xml_node instanceName, const char* name, const std::string& value) {
  pugi::xml_node key = instanceName.append_child("KEYBINDING");
  key.append_attribute("NAME") = name;
  pugi::xml_node keyValue = key.append_child("KEYVALUE");
  keyValue.append_attribute("VALUETYPE") = "string";
  keyValue.text() = value.c_str();
}

void addReference(pugi::xml_node instanceName, const char* name, const pugi::xml_node& value) {
  pugi::xml_node key = instanceName.append_child("KEYBINDING");
  key.append_attribute("NAME") = name;
  key.append_copy(value);
}

}  // namespace

ObjectManager::ObjectManager(std::string interopNamespace, Layout layout)
    : interop_(std::move(interopNamespace)), layout_(layout) {
  server_.Post("/cimom", [this](const httplib::Request& request, httplib::Response& response) {
    serve(request, response);
  });
  port_ = server_.bind_to_any_port("127.0.0.1");
  if (port_ < 0) {
    throw std::runtime_error("cannot listen on the loopback");
  }
  thread_ = std::thread([this] { server_.listen_after_bind(); });
  while (!server_.is_running()) {
    std::this_thread::yield();
  }
}

ObjectManager::~ObjectManager() {
  server_.stop();
  thread_.join();
}

std::string ObjectManager::url() const { return "http://127.0.0.1:" + std::to_string(port_); }

std::vector<ObjectManager::Held> ObjectManager::held() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return held_;
}

std::size_t ObjectManager::count(const std::string& className) const {
  const std::vector<Held> all = held();
  return static_cast<std::size_t>(std::count_if(
      all.begin(), all.end(), [&](const Held& one) { return one.className == className; }));
}

std::vector<std::string> ObjectManager::complaints() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return complaints_;
}

void ObjectManager::meanwhile(const std::string& method, const std::string& className,
                              std::function<void()> action) {
  const std::lock_guard<std::mutex> lock(mutex_);
  awaited_ = method + " " + className;
  action_ = std::move(action);
}

void ObjectManager::forgetIndicationClass() {
  const std::lock_guard<std::mutex> lock(mutex_);
  classForgotten_ = true;
}

void ObjectManager::letOthersAct(const std::string& method, const std::string& className) {
  std::function<void()> action;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (method + " " + className == awaited_) {
      action.swap(action_);
      awaited_.clear();
    }
  }
  if (action) {
    action();
  }
}

void ObjectManager::serve(const httplib::Request& request, httplib::Response& response) {
  pugi::xml_document document;
  document.load_string(request.body.c_str());
  const pugi::xml_node call =
      document.child("CIM").child("MESSAGE").child("SIMPLEREQ").child("IMETHODCALL");
  const std::string method = call.attribute("NAME").value();
  letOthersAct(method, classOf(call));

  pugi::xml_document answer;
  pugi::xml_node reply = answer.append_child("CIM")
                             .append_child("MESSAGE")
                             .append_child("SIMPLERSP")
                             .append_child("IMETHODRESPONSE");
  reply.append_attribute("NAME") = method.c_str();
  const std::lock_guard<std::mutex> lock(mutex_);
  judge(request, call);
  perform(call, reply, request.body);
  const bool oneLine = layout_ == Layout::kOneLine;
  response.set_content("<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n" +
                           text(answer, oneLine ? pugi::format_raw : pugi::format_indent),
                       "application/xml");
}

void ObjectManager::judge(const httplib::Request& request, const pugi::xml_node& call) {
  const std::string method = call.attribute("NAME").value();
  const auto want = [&](const char* header, const std::string& value) {
    if (request.get_header_value(header) != value) {
      complaints_.push_back(method + ": " + header);
    }
  };
  want("CIMOperation", "MethodCall");
  want("CIMMethod", method);
  want("CIMObject", namespaceOf(call));
  want("Content-Type", "application/xml; charset=\"utf-8\"");
  if (!call || request.body.find('@') != std::string::npos) {
    complaints_.push_back("malformed: " + request.body);
  }
}

void ObjectManager::perform(const pugi::xml_node& call, pugi::xml_node reply,
                            const std::string& body) {
  const std::string method = call.attribute("NAME").value();
  if (method == "GetClass") {
    if (classForgotten_) {
      refuse(reply, 6, "CIM_ERR_NOT_FOUND: KAV_SSDLifeMonitorFailureImminent");
    }
  } else if (namespaceOf(call) != interop_) {
    refuse(reply, 3, "no such namespace");
  } else if (method == "CreateInstance") {
    create(call, reply, body);
  } else if (method == "EnumerateInstanceNames") {
    list(call, reply);
  } else if (method == "DeleteInstance") {
    remove(call, reply);
  } else {
    refuse(reply, 7, "not supported");
  }
}

bool ObjectManager::holds(const std::string& instanceName) const {
  return std::any_of(held_.begin(), held_.end(),
                     [&](const Held& one) { return one.instanceName == instanceName; });
}

void ObjectManager::create(const pugi::xml_node& call, pugi::xml_node reply,
                           const std::string& body) {
  const pugi::xml_node instance = parameter(call, "NewInstance").child("INSTANCE");
  const std::string className = instance.attribute("CLASSNAME").value();
  pugi::xml_document made;
  pugi::xml_node name = made.append_child("INSTANCENAME");
  name.append_attribute("CLASSNAME") = className.c_str();
  if (className == "CIM_IndicationSubscription") {
    for (const char* end : {"Filter", "Handler"}) {
      const pugi::xml_node reference = property(instance, end);
      if (!holds(text(reference.first_child()))) {
        refuse(reply, 6, "Filter or Handler not found");
        return;
      }
      addReference(name, end, reference);
    }
  } else {
    addKey(name, "SystemCreationClassName", "CIM_ComputerSystem");
    addKey(name, "SystemName", "till.example");
    addKey(name, "CreationClassName", className);
    addKey(name, "Name", property(instance, "Name").text().get());
  }
  if (holds(text(name))) {
    refuse(reply, 11, "already exists");
    return;
  }
  held_.push_back({className, text(name), body});
  reply.append_child("IRETURNVALUE").append_copy(name);
}

void ObjectManager::list(const pugi::xml_node& call, pugi::xml_node reply) const {
  pugi::xml_node names = reply.append_child("IRETURNVALUE");
  for (const Held& one : held_) {
    if (one.className == classOf(call)) {
      names.append_buffer(one.instanceName.data(), one.instanceName.size());
    }
  }
}

void ObjectManager::remove(const pugi::xml_node& call, pugi::xml_node reply) {
  const std::string name = text(parameter(call, "InstanceName").first_child());
  const auto found = std::find_if(held_.begin(), held_.end(),
                                  [&](const Held& one) { return one.instanceName == name; });
  if (found == held_.end()) {
    refuse(reply, 6, "not found");
    return;
  }
  if (classForgotten_ && found->className == "CIM_IndicationSubscription") {
    complaints_.push_back("a subscription without its class was deleted");
  }
  for (const Held& one : held_) {
    if (one.instanceName != name && one.instanceName.find(name) != std::string::npos) {
      refuse(reply, 1, "Filter in use");
      return;
    }
  }
  held_.erase(found);
}
