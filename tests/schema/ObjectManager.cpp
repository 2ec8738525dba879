#include "tests/schema/ObjectManager.h"

#include <algorithm>
#include <regex>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::string between(const std::string& text, const std::string& start, const std::string& end) {
  const std::size_t from = text.find(start);
  if (from == std::string::npos) {
    return "";
  }
  const std::size_t first = from + start.size();
  const std::size_t to = text.find(end, first);
  return to == std::string::npos ? "" : text.substr(first, to - first);
}

std::string element(const std::string& tag, const std::string& attributes,
                    const std::string& content) {
  return "<" + tag + attributes + ">" + content + "</" + tag + ">";
}

std::string key(const std::string& name, const std::string& content) {
  return element("KEYBINDING", " NAME=\"" + name + "\"", content);
}

std::string textKey(const std::string& name, const std::string& text) {
  return key(name, element("KEYVALUE", " VALUETYPE=\"string\"", text));
}

std::string errorTag(int code, const std::string& description) {
  return "<ERROR CODE=\"" + std::to_string(code) + "\" DESCRIPTION=\"" + description + "\"/>";
}

// Every tag is closed by its own kind, the last first.
bool wellFormed(const std::string& xml) {
  std::vector<std::string> open;
  const std::regex tag(R"(<(/?)([A-Za-z.]+)([^<>]*?)(/?)>)");
  for (std::sregex_iterator at(xml.begin(), xml.end(), tag), end; at != end; ++at) {
    if ((*at)[1].length() == 0) {
      if ((*at)[4].length() == 0) {
        open.push_back((*at)[2]);
      }
    } else if (open.empty() || open.back() != (*at)[2]) {
      return false;
    } else {
      open.pop_back();
    }
  }
  const std::string rest = std::regex_replace(xml, tag, "");
  return open.empty() && rest.find('@') == std::string::npos;
}

std::string namespaceOf(const std::string& body) {
  const std::string path = between(body, "<LOCALNAMESPACEPATH>", "</LOCALNAMESPACEPATH>");
  std::string name;
  const std::regex part("<NAMESPACE NAME=\"([^\"]*)\"/>");
  for (std::sregex_iterator at(path.begin(), path.end(), part), end; at != end; ++at) {
    name += (name.empty() ? "" : "/") + (*at)[1].str();
  }
  return name;
}

// The content of a property; of a reference, the instance that it names.
std::string property(const std::string& body, const std::string& name) {
  const std::string from = body.substr(std::min(body.find("NAME=\"" + name + "\""), body.size()));
  return between(from, "<VALUE>", "</VALUE>");
}

std::string reference(const std::string& body, const std::string& name) {
  const std::string from = body.substr(std::min(body.find("NAME=\"" + name + "\""), body.size()));
  return between(from, "<VALUE.REFERENCE>", "</VALUE.REFERENCE>");
}

}  // namespace

ObjectManager::ObjectManager(std::string interopNamespace, Layout layout)
    : interop_(std::move(interopNamespace)), layout_(layout) {
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (listener_ < 0 || bind(listener_, generic, length) != 0 || listen(listener_, 8) != 0 ||
      getsockname(listener_, generic, &length) != 0) {
    throw std::runtime_error("cannot listen on the loopback");
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { serve(); });
}

ObjectManager::~ObjectManager() {
  stopping_ = true;
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
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

void ObjectManager::serve() {
  while (!stopping_) {
    const int connection = accept(listener_, nullptr, nullptr);
    if (connection >= 0) {
      serveOne(connection);
      close(connection);
    }
  }
}

void ObjectManager::serveOne(int connection) {
  std::string request;
  char buffer[4096];
  const auto receive = [&] {
    const ssize_t size = recv(connection, buffer, sizeof buffer, 0);
    request.append(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
    return size > 0;
  };
  std::size_t headEnd = 0;
  while ((headEnd = request.find("\r\n\r\n")) == std::string::npos) {
    if (!receive()) {
      return;
    }
  }
  const std::string head = request.substr(0, headEnd + 2);
  const std::size_t size = headEnd + 4 + std::stoul(between(head, "Content-Length: ", "\r"));
  while (request.size() < size && receive()) {
  }
  std::string body = answer(head, request.substr(headEnd + 4));
  if (layout_ == Layout::kLineForEachTag) {
    body = std::regex_replace(body, std::regex("><"), ">\n<");
  }
  const std::string reply =
      "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) +
      "\r\n\r\n" + body;
  (void)send(connection, reply.data(), reply.size(), MSG_NOSIGNAL);
}

std::string ObjectManager::answer(const std::string& head, const std::string& body) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const std::string method = between(body, "<IMETHODCALL NAME=\"", "\"");
  const auto want = [&](bool right, const std::string& what) {
    if (!right) {
      complaints_.push_back(method + ": " + what);
    }
  };
  want(head.find("POST /cimom HTTP/1.1\r\n") == 0, "not posted to /cimom");
  want(between(head, "CIMOperation: ", "\r") == "MethodCall", "CIMOperation");
  want(between(head, "CIMMethod: ", "\r") == method, "CIMMethod is not the call's");
  want(between(head, "CIMObject: ", "\r") == namespaceOf(body), "CIMObject is not the namespace");
  want(between(head, "Content-Type: ", "\r") == "application/xml; charset=\"utf-8\"",
       "Content-Type");
  want(wellFormed(body), "malformed: " + body);
  const std::string result =
      namespaceOf(body) == interop_ ? perform(method, body) : errorTag(3, "no such namespace");
  return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n" +
         element("CIM", " CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"",
                 element("MESSAGE", " ID=\"1\" PROTOCOLVERSION=\"1.0\"",
                         element("SIMPLERSP", "",
                                 element("IMETHODRESPONSE", " NAME=\"" + method + "\"", result))));
}

std::string ObjectManager::perform(const std::string& method, const std::string& body) {
  if (method == "CreateInstance") {
    return create(body);
  }
  if (method == "EnumerateInstanceNames") {
    return list(body);
  }
  if (method == "DeleteInstance") {
    return remove(body);
  }
  return errorTag(7, "not supported");
}

bool ObjectManager::holds(const std::string& instanceName) const {
  return std::any_of(held_.begin(), held_.end(),
                     [&](const Held& one) { return one.instanceName == instanceName; });
}

std::string ObjectManager::create(const std::string& body) {
  const std::string className = between(body, "<INSTANCE CLASSNAME=\"", "\"");
  std::string keys;
  if (className == "CIM_IndicationSubscription") {
    const std::string filter = reference(body, "Filter");
    const std::string handler = reference(body, "Handler");
    if (!holds(filter) || !holds(handler)) {
      return errorTag(4, "a reference to nothing");
    }
    keys = key("Filter", element("VALUE.REFERENCE", "", filter)) +
           key("Handler", element("VALUE.REFERENCE", "", handler));
  } else {
    keys = textKey("SystemCreationClassName", "CIM_ComputerSystem") +
           textKey("SystemName", "till.example") + textKey("CreationClassName", className) +
           textKey("Name", property(body, "Name"));
  }
  const std::string name = element("INSTANCENAME", " CLASSNAME=\"" + className + "\"", keys);
  if (holds(name)) {
    return errorTag(11, "already exists");
  }
  held_.push_back({className, name, body});
  return element("IRETURNVALUE", "", name);
}

std::string ObjectManager::list(const std::string& body) const {
  std::string names;
  for (const Held& one : held_) {
    if (one.className == between(body, "<CLASSNAME NAME=\"", "\"")) {
      names += one.instanceName;
    }
  }
  return names.empty() ? "<IRETURNVALUE/>" : element("IRETURNVALUE", "", names);
}

std::string ObjectManager::remove(const std::string& body) {
  const std::string name = between(body, "<IPARAMVALUE NAME=\"InstanceName\">", "</IPARAMVALUE>");
  const auto found = std::find_if(held_.begin(), held_.end(),
                                  [&](const Held& one) { return one.instanceName == name; });
  if (found == held_.end()) {
    return errorTag(6, "not found");
  }
  for (const Held& one : held_) {
    if (one.instanceName != name && one.instanceName.find(name) != std::string::npos) {
      return errorTag(1, "a subscription refers to it");
    }
  }
  held_.erase(found);
  return "";
}
