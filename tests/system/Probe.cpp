// An object manager that does what its arguments say, one after the other, and notes what came of
// each in the file that is its first argument. A step is a word, or a word, ":" and what it is
// about.

#include <dirent.h>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/HostError.h"
#include "host/ObjectManager.h"
#include "host/Provider.h"

namespace {

using cmpihost::Broker;
using cmpihost::Filter;
using cmpihost::Instance;
using cmpihost::ObjectPath;
using cmpihost::Provider;
using cmpihost::Reply;
using cmpihost::Status;
using cmpihost::Value;
using nlohmann::json;

constexpr char kLibrary[] = VEKSSD_LIBRARY;
constexpr char kPrefix[] = "SsdProvider";
constexpr char kClass[] = "KAV_SSDLifeMonitor";
constexpr char kIndication[] = "KAV_SSDLifeMonitorFailureImminent";

const ObjectPath kSsds = {"root/cimv2", kClass};

json valueOf(const Value& value) {
  if (value.isNull()) {
    return nullptr;
  }
  switch (value.type()) {
    case CMPI_boolean:
      return value.asBoolean();
    case CMPI_dateTime:
      return value.asDateTime().text();
    case CMPI_chars:
    case CMPI_string:
      return value.asText();
    default:
      return value.asUnsigned();
  }
}

json propertiesOf(const Instance& instance) {
  json all = json::object();
  for (const auto& property : instance.properties) {
    all[property.name] = valueOf(property.value);
  }
  return all;
}

json outcome(const Status& status) {
  return {{"rc", static_cast<int>(status.rc)}, {"message", status.message}};
}

json outcome(const Reply& reply) {
  json result = outcome(reply.status);
  result["done"] = reply.doneCalls;
  result["paths"] = json::array();
  for (const ObjectPath& path : reply.paths) {
    result["paths"].push_back(path.text());
  }
  result["instances"] = json::array();
  for (const Instance& instance : reply.instances) {
    result["instances"].push_back(propertiesOf(instance));
  }
  return result;
}

std::size_t entriesOf(const char* directory) {
  DIR* const opened = opendir(directory);
  std::size_t count = 0;
  while (readdir(opened) != nullptr) {
    ++count;
  }
  closedir(opened);
  return count;
}

json resources() {
  // The directory that is being read is open too, each time.
  return {{"descriptors", entriesOf("/proc/self/fd")}, {"threads", entriesOf("/proc/self/task")}};
}

std::vector<cmpihost::ClassDeclaration> registeredClasses() {
  return {{"root/cimv2",
           kClass,
           "",
           {{"Caption", CMPI_string},
            {"CreationClassName", CMPI_string},
            {"Description", CMPI_string},
            {"DeviceID", CMPI_string},
            {"DriveFirmwareVersion", CMPI_string},
            {"DriveModel", CMPI_string},
            {"DriveSerialNumber", CMPI_string},
            {"PhysicalDrive", CMPI_string},
            {"PoweredOnHours", CMPI_uint64},
            {"PercentageUsed", CMPI_uint8},
            {"PercentageUsedSource", CMPI_uint8},
            {"FailureImminent", CMPI_boolean},
            {"SystemCreationClassName", CMPI_string},
            {"SystemName", CMPI_string}}},
          {"root/cimv2",
           kIndication,
           "CIM_ProcessIndication",
           {{"DeviceID", CMPI_string},
            {"PhysicalDrive", CMPI_string},
            {"IndicationTime", CMPI_dateTime}}}};
}

class Probe {
 public:
  explicit Probe(const char* results) : results_(results) {}

  void run(const std::string& step) {
    const std::size_t colon = step.find(':');
    const std::string word = step.substr(0, colon);
    const std::string about = colon == std::string::npos ? "" : step.substr(colon + 1);
    const auto found = steps_.find(word);
    if (found == steps_.end()) {
      throw cmpihost::HostError("no step is called \"" + word + '"');
    }
    json entry = {{"step", step}, {"result", found->second(about)}};
    // How far the three places had been written when the step was over.
    std::fflush(stdout);
    entry["out"] = sizeOf(fdPath(STDOUT_FILENO));
    entry["err"] = sizeOf(fdPath(STDERR_FILENO));
    const char* logs = std::getenv("VEKSSD_LOG_DIR");
    entry["log"] = logs == nullptr ? 0 : sizeOf(std::string(logs) + "/ssddrv.log");
    results_ << entry.dump(-1, ' ', false, json::error_handler_t::replace) << std::endl;
  }

 private:
  using Action = std::function<json(const std::string&)>;

  static std::string fdPath(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
  }
  static std::uint64_t sizeOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
  }

  Provider& provider() { return manager_ != nullptr ? manager_->provider() : *provider_; }
  Broker& broker() { return manager_ != nullptr ? manager_->broker() : broker_; }

  /// "namespace:class", or the provider's own for nothing.
  static ObjectPath pathOf(const std::string& about) {
    const std::size_t colon = about.find(':');
    return about.empty() ? kSsds : ObjectPath{about.substr(0, colon), about.substr(colon + 1)};
  }
  static Filter filterOf(const std::string& className) {
    return {className.empty() ? kIndication : className};
  }
  static CMPIBoolean flagOf(const std::string& about) { return about == "0" ? 0 : 1; }

  Reply names(const ObjectPath& path) {
    return manager_ != nullptr ? manager_->enumerateInstanceNames(path)
                               : provider_->enumerateInstanceNames(path);
  }
  Reply list(const ObjectPath& path) {
    return manager_ != nullptr ? manager_->enumerateInstances(path)
                               : provider_->enumerateInstances(path);
  }
  Reply get(const std::string& key) {
    const ObjectPath path = kSsds.withKey("DeviceID", Value::string(key));
    return manager_ != nullptr ? manager_->getInstance(path) : provider_->getInstance(path);
  }

  json waitForIndication(const std::string& milliseconds) {
    const auto indication =
        broker().waitForIndication(std::chrono::milliseconds(std::stol(milliseconds)));
    if (!indication) {
      return nullptr;
    }
    json result = propertiesOf(indication->instance);
    return {{"namespace", indication->nameSpace},
            {"class", indication->instance.path.className},
            {"keys", indication->instance.path.keys.size()},
            {"properties", std::move(result)}};
  }

  json brokerCalls() {
    json calls = json::array();
    for (const std::string& text : broker().journal().texts()) {
      calls.push_back(text);
    }
    return {{"calls", calls}, {"violations", broker().journal().violations()}};
  }

  /// Gives the library up without waiting for the threads that it started, as managers do that
  /// don't know of them.
  bool unloadAtOnce() {
    void* const again = dlopen(kLibrary, RTLD_NOW | RTLD_NOLOAD);
    provider_->leaveLoaded();
    dlclose(again);
    dlclose(again);
    return dlopen(kLibrary, RTLD_NOW | RTLD_NOLOAD) == nullptr;
  }

  json repeatLoading(const std::string& times) {
    json result = {{"gone", 0}, {"before", resources()}};
    for (int i = 0; i < std::stoi(times); ++i) {
      Provider loaded(broker_, kLibrary, kPrefix);
      static_cast<void>(loaded.enumerateInstances(kSsds));
      static_cast<void>(loaded.activateFilter(filterOf(""), 1));
      result["gone"] = result["gone"].get<int>() + (loaded.close() ? 1 : 0);
    }
    result["after"] = resources();
    return result;
  }

  /// Everything at once, on several threads, for `rounds`: what a broker may do and the drives
  /// will.
  json stress(const std::string& rounds) {
    const int times = std::stoi(rounds);
    std::atomic<unsigned> wrong{0};
    const auto expect = [&wrong](CMPIrc rc, std::initializer_list<CMPIrc> allowed) {
      bool fine = false;
      for (const CMPIrc one : allowed) {
        fine = fine || rc == one;
      }
      wrong += fine ? 0U : 1U;
    };
    std::vector<std::thread> threads;
    const auto repeat = [&](const std::function<void()>& action) {
      threads.emplace_back([times, action] {
        for (int i = 0; i < times; ++i) {
          action();
        }
      });
    };
    constexpr CMPIrc kGone = CMPI_RC_ERR_METHOD_NOT_AVAILABLE;
    repeat([&] { expect(provider().enumerateInstances(kSsds).status.rc, {CMPI_RC_OK, kGone}); });
    repeat([&] {
      expect(provider().enumerateInstanceNames(kSsds).status.rc, {CMPI_RC_OK, kGone});
    });
    repeat([&] { expect(get("").status.rc, {CMPI_RC_OK, kGone}); });
    repeat([&] {
      expect(provider().activateFilter(filterOf(""), 1).rc, {CMPI_RC_OK, kGone});
      provider().enableIndications();
      expect(provider().deActivateFilter(filterOf(""), 1).rc, {CMPI_RC_OK, kGone});
    });
    repeat([&] {
      expect(provider().createInstanceMI().rc, {CMPI_RC_OK});
      expect(provider().createIndicationMI().rc, {CMPI_RC_OK});
      expect(provider().cleanupIndicationMI(true).rc, {CMPI_RC_OK});
      expect(provider().cleanupInstanceMI(true).rc, {CMPI_RC_OK});
      expect(provider().cleanupInstanceMI(false).rc, {CMPI_RC_DO_NOT_UNLOAD});
    });
    for (std::thread& thread : threads) {
      thread.join();
    }
    broker().waitForThreads(std::chrono::seconds(30));
    return {{"wrong", wrong.load()}, {"violations", broker().journal().violations()}};
  }

  std::ofstream results_;
  Broker broker_;
  std::unique_ptr<Provider> provider_;
  std::unique_ptr<cmpihost::ObjectManager> manager_;

  const std::map<std::string, Action> steps_ = {
      // ---- Coming and going.
      {"load",
       [this](const std::string&) {
         provider_ = std::make_unique<Provider>(broker_, kLibrary, kPrefix);
         return json(true);
       }},
      {"manager",
       [this](const std::string& name) {
         manager_ = std::make_unique<cmpihost::ObjectManager>(
             cmpihost::personalityOf(name), registeredClasses(), kLibrary, kPrefix);
         return json(true);
       }},
      {"instance-mi",
       [this](const std::string&) { return outcome(provider().createInstanceMI()); }},
      {"indication-mi",
       [this](const std::string&) { return outcome(provider().createIndicationMI()); }},
      {"cleanup-instance",
       [this](const std::string& about) {
         return outcome(provider().cleanupInstanceMI(flagOf(about) != 0));
       }},
      {"cleanup-indication",
       [this](const std::string& about) {
         return outcome(provider().cleanupIndicationMI(flagOf(about) != 0));
       }},
      {"unload", [this](const std::string&) { return json(provider().unload()); }},
      {"unload-at-once", [this](const std::string&) { return json(unloadAtOnce()); }},
      {"stop", [this](const std::string&) { return json(manager_->stop()); }},
      {"leave-loaded",
       [this](const std::string&) {
         provider().leaveLoaded();
         return json(true);
       }},
      {"repeat-loading", [this](const std::string& about) { return repeatLoading(about); }},
      // ---- Requests.
      {"names", [this](const std::string& about) { return outcome(names(pathOf(about))); }},
      {"list", [this](const std::string& about) { return outcome(list(pathOf(about))); }},
      {"get", [this](const std::string& key) { return outcome(get(key)); }},
      {"get-in",
       [this](const std::string& about) {
         return outcome(
             provider().getInstance(pathOf(about).withKey("DeviceID", Value::string(""))));
       }},
      {"create",
       [this](const std::string&) { return outcome(provider().createInstance(kSsds, {kSsds})); }},
      {"modify",
       [this](const std::string&) { return outcome(provider().modifyInstance(kSsds, {kSsds})); }},
      {"delete", [this](const std::string&) { return outcome(provider().deleteInstance(kSsds)); }},
      {"query",
       [this](const std::string&) {
         return outcome(provider().execQuery(kSsds, "SELECT * FROM KAV_SSDLifeMonitor", "WQL"));
       }},
      // ---- Indications.
      {"authorize",
       [this](const std::string& about) {
         return outcome(provider().authorizeFilter(filterOf(about)));
       }},
      {"must-poll",
       [this](const std::string& about) { return outcome(provider().mustPoll(filterOf(about))); }},
      {"activate",
       [this](const std::string& about) {
         return outcome(provider().activateFilter(filterOf(about), 1));
       }},
      {"deactivate",
       [this](const std::string& about) {
         return outcome(provider().deActivateFilter(filterOf(about), 1));
       }},
      {"enable",
       [this](const std::string&) {
         provider().enableIndications();
         return json(true);
       }},
      {"disable",
       [this](const std::string&) {
         provider().disableIndications();
         return json(true);
       }},
      {"subscribe",
       [this](const std::string& about) { return outcome(manager_->subscribe(filterOf(about))); }},
      {"unsubscribe",
       [this](const std::string& about) {
         return outcome(manager_->unsubscribe(filterOf(about)));
       }},
      {"indication", [this](const std::string& about) { return waitForIndication(about); }},
      {"slow-indications",
       [this](const std::string& milliseconds) {
         broker().onIndication([milliseconds](const cmpihost::Indication&) {
           std::this_thread::sleep_for(std::chrono::milliseconds(std::stol(milliseconds)));
         });
         return json(true);
       }},
      {"ended-indications",  // the host ends the thread that delivers one
       [this](const std::string&) {
         broker().onIndication([](const cmpihost::Indication&) { pthread_exit(nullptr); });
         return json(true);
       }},
      {"threads",
       [this](const std::string& about) {
         return json(broker().waitForThreads(std::chrono::milliseconds(std::stol(about))));
       }},
      // ---- Other.
      {"idle",
       [this](const std::string&) {
         json answers = json::array();
         for (const Status& status : manager_->idle()) {
           answers.push_back(static_cast<int>(status.rc));
         }
         return answers;
       }},
      {"sleep",
       [](const std::string& milliseconds) {
         std::this_thread::sleep_for(std::chrono::milliseconds(std::stol(milliseconds)));
         return json(true);
       }},
      {"fail",
       [this](const std::string& call) {
         broker().failCall(call, 1, CMPI_RC_ERR_FAILED, "refused");
         return json(true);
       }},
      {"forget-calls",
       [this](const std::string&) {
         broker().journal().clear();
         return json(true);
       }},
      {"calls", [this](const std::string&) { return brokerCalls(); }},
      {"resources", [](const std::string&) { return resources(); }},
      {"stress", [this](const std::string& about) { return stress(about); }},
  };
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("usage: system_probe RESULTS STEP...\n", stderr);
    return 2;
  }
  // Lives until the process has ended: a library that was left loaded may still call it.
  auto* const probe = new Probe(argv[1]);
  for (int i = 2; i < argc; ++i) {
    try {
      probe->run(argv[i]);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "system_probe: %s: %s\n", argv[i], error.what());
      return 3;
    }
  }
  return 0;
}
