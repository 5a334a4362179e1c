// The plug-in, built from the product's own layer, with one thing broken: the environment variable
// BREAK names the test of `kaehost validate` that must fail, and perhaps how. Without it, nothing
// is broken.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/kae.h"
#include "host/kaml.h"
#include "layer/kaTCPLayer.h"
#include "settings/CTCPSetting.h"

namespace {

constexpr int kText = 0;
constexpr int kElement = 1;

// Where the tests put an obstacle.
constexpr const char* kVictim = "tcp_timestamps";

bool Breaks(const char* what) {
  const char* found = std::getenv("BREAK");
  return found != nullptr && std::strcmp(found, what) == 0;
}

std::string PathOf(const char* name) { return std::string("/proc/sys/net/ipv4/") + name; }

void Write(const char* name, const std::string& text) { std::ofstream(PathOf(name)) << text; }

std::string Read(const char* name) {
  std::string word;
  std::ifstream(PathOf(name)) >> word;
  return word;
}

int ErrorOfOpening(const char* name) {
  const int file = open(PathOf(name).c_str(), O_WRONLY | O_CLOEXEC);
  const int error = file < 0 ? errno : 0;
  close(file);
  return error;
}

bool IsElement(const kaml_content* content, const char* name) {
  return content != nullptr && kaml_cont_type(content) == kElement &&
         std::strcmp(kaml_elem_name(content), name) == 0;
}

bool IsSettings(const kaml_content* content) { return IsElement(content, "tcp-settings"); }

// The names and texts in the first of a document's elements.
using Values = std::vector<std::pair<const char*, std::string>>;
Values ValuesIn(const kaml_content* document) {
  Values values;
  const kaml_content* child = IsSettings(document) ? kaml_elem_contents(document) : nullptr;
  for (; child != nullptr; child = kaml_cont_next(child)) {
    const kaml_content* text =
        kaml_cont_type(child) == kElement ? kaml_elem_contents(child) : nullptr;
    if (text != nullptr && kaml_cont_type(text) == kText) {
      values.emplace_back(kaml_elem_name(child), kaml_text(text));
    }
  }
  return values;
}

std::atomic<int> layers = 0;
const std::thread::id loader = std::this_thread::get_id();

class Layer : public kaTCPLayer {
 public:
  Layer() {
    if (Breaks("knows-the-vocabulary")) {
      kaml_intern("tcp_cubic");
    } else if (Breaks("keeps-a-snapshot-for-each-layer") && layers > 0) {
      std::istringstream text("1");
      Find("tcp_sack")->ReadValue(text);
      Find("tcp_sack")->SetPrev();
    }
    ++layers;
  }

  ~Layer() override { --layers; }

  bool do_Configure(kaeRequest* request, const kaml_content* content) override {
    std::optional<bool> returned = BreakProcess(request);
    returned = returned ? returned : BreakDocument(request, content);
    returned = returned ? returned : BreakObstacle(request);
    if (returned) {
      return *returned;
    }
    const bool is_done = Serve(request, content);
    BreakValues(ValuesIn(content));
    const bool is_repeated = is_served_ && request == last_request_ && IsSettings(content) &&
                             ErrorOfOpening(kVictim) == 0;
    last_request_ = request;
    is_served_ = is_served_ || is_done;
    has_failed_ = has_failed_ || (!is_done && IsSettings(content));
    return is_done || (is_repeated && Breaks("returns-what-the-host-returned"));
  }

  void do_Stop() override {
    if (Breaks("starts-and-stops-without-effect")) {
      WritePrevious();
    }
  }

  void do_Release() override {
    static int released = 0;
    if (Breaks("makes-many-layers: files") && ++released % 20 == 0) {
      open("/dev/null", O_RDONLY | O_CLOEXEC);
    } else if (Breaks("makes-many-layers: memory")) {
      static std::vector<std::string> kept;
      kept.emplace_back(1000, 'x');
    } else if (Breaks("changes-only-its-tunables")) {
      Write("ip_forward", "0");
    } else if (Breaks("releases-behind-an-obstacle") && ErrorOfOpening("tcp_fin_timeout") != 0) {
      delete this;
      return;
    }
    if (kept_file_ >= 0) {
      close(kept_file_);
    }
    const std::string retries = Read("tcp_retries2");
    const bool was_served = is_served_;
    kaTCPLayer::do_Release();
    if (Breaks("restores-on-release")) {
      Write("tcp_retries2", retries);
    } else if (Breaks("changes-nothing-without-a-request") && !was_served) {
      Write("tcp_fin_timeout", "15");
    }
  }

 private:
  CTCPSetting* Find(const std::string& name) {
    for (const auto& [key, setting] : settings_) {
      if (name == setting->GetName()) {
        return setting;
      }
    }
    std::abort();
  }

  bool Serve(kaeRequest* request, const kaml_content* content) {
    const bool is_silent = Breaks("prints-its-progress");
    if (is_silent) {
      std::cout.setstate(std::ios::failbit);
    }
    const bool is_done = kaTCPLayer::do_Configure(request, content);
    if (is_silent) {
      std::cout.clear();
    }
    if (Breaks("replies-once: twice")) {
      request->SendSuccess(nullptr);
    }
    return is_done;
  }

  static bool Fail(kaeRequest* request) {
    request->SendError("file error",
                       "[" + PathOf(kVictim) + "]: " + std::strerror(ErrorOfOpening(kVictim)));
    return false;
  }

  // What is broken in the process of the host. Each of these returns what do_Configure returns, or
  // none if it goes on.
  std::optional<bool> BreakProcess(kaeRequest* request) {
    static bool is_started = false;
    if (Breaks("replies-once: never")) {
      return true;
    }
    if (Breaks("replies-once: crashes")) {
      std::signal(SIGSEGV, SIG_DFL);
      std::raise(SIGSEGV);
    } else if (Breaks("replies-once: hangs")) {
      for (;;) {
        pause();
      }
    } else if (Breaks("replies-once: throws")) {
      throw std::string("no luck");
    } else if ((Breaks("works-on-threads") && std::this_thread::get_id() != loader) ||
               (Breaks("works-with-full-output") && write(STDOUT_FILENO, "\n", 1) < 0 &&
                errno == ENOSPC)) {
      return Fail(request);
    } else if (Breaks("works-with-closed-output") && fcntl(STDOUT_FILENO, F_GETFD) < 0) {
      return false;
    } else if (Breaks("prints-no-errors")) {
      std::fputs("an error\n", stderr);
    } else if (Breaks("closes-its-files")) {
      kept_file_ = open("/dev/null", O_RDONLY | O_CLOEXEC);
    } else if (Breaks("starts-no-thread") && !std::exchange(is_started, true)) {
      static std::atomic<bool> is_running = false;
      std::thread([] {
        is_running = true;  // from here on, it does not need the library
        for (;;) {
          pause();
        }
      }).detach();
      while (!is_running) {
        std::this_thread::yield();
      }
    } else if (Breaks("leaves-the-process-as-it-is")) {
      std::signal(SIGUSR1, SIG_IGN);
    } else if (Breaks("changes-only-its-tunables")) {
      Write("ip_forward", "1");
    }
    return std::nullopt;
  }

  std::optional<bool> BreakDocument(kaeRequest* request, const kaml_content* content) {
    const kaml_content* next = content != nullptr ? kaml_cont_next(content) : nullptr;
    const Values values = ValuesIn(content);
    if (Breaks("accepts-no-content") && content == nullptr) {
      return false;
    }
    if (Breaks("accepts-no-content: body") && content == nullptr) {
      return request->SendSuccess(reinterpret_cast<kaml_content*>(this));
    }
    if (Breaks("ignores-top-level-text") && content != nullptr &&
        kaml_cont_type(content) != kElement) {
      return false;
    }
    if (Breaks("leaves-a-foreign-document") && content != nullptr &&
        kaml_cont_type(content) == kElement && !IsSettings(content)) {
      return Fail(request);
    }
    if (Breaks("stops-at-a-foreign-element") && IsSettings(content) && next != nullptr &&
        !IsSettings(next)) {
      HandleRequest(request, content);
      return request->SendSuccess(nullptr);
    }
    if (Breaks("applies-each-top-level-element") && IsSettings(content) && IsSettings(next)) {
      HandleRequest(request, content);
      return request->SendSuccess(nullptr);
    }
    if (Breaks("imposes-its-defaults") && IsSettings(content) &&
        kaml_elem_contents(content) == nullptr) {
      SetToPrevious();
    } else if (Breaks("imposes-its-defaults: one") && IsSettings(content) &&
               kaml_elem_contents(content) == nullptr) {
      Find("tcp_timestamps")->SetPrev();
    } else if (Breaks("keeps-earlier-values")) {
      SetToPrevious();
      SetDefaults();
    }
    for (const auto& [name, value] : values) {
      if (Breaks("ignores-what-it-does-not-know") && std::strcmp(name, "tcp_rmem") == 0) {
        return Fail(request);
      }
      if (Breaks("survives-hostile-documents") && value.size() > 4096) {
        std::signal(SIGSEGV, SIG_DFL);
        std::raise(SIGSEGV);
      }
    }
    return std::nullopt;
  }

  std::optional<bool> BreakObstacle(kaeRequest* request) {
    const int error = ErrorOfOpening(kVictim);
    const std::pair<const char*, int> passed_over[] = {{"fails-at-a-read-only-file", EROFS},
                                                       {"fails-at-a-directory", EISDIR},
                                                       {"fails-at-a-socket", ENXIO},
                                                       {"fails-at-a-loop", ELOOP},
                                                       {"fails-without-a-descriptor", EMFILE}};
    for (const auto& [name, wanted] : passed_over) {
      if (error == wanted && Breaks(name)) {
        return request->SendSuccess(nullptr);
      }
    }
    if (Breaks("skips-a-missing-file") && error == ENOENT) {
      return Fail(request);
    }
    if (Breaks("works-after-a-failure") && has_failed_) {
      return Fail(request);
    }
    if (error != ENOTDIR) {
      return std::nullopt;
    }
    if (Breaks("names-the-file")) {
      WritePrevious();
      request->SendError("file error", "a file cannot be written");
      return false;
    }
    if (Breaks("rolls-back-before-the-reply")) {
      Write("tcp_sack", "0");
      Fail(request);
      WritePrevious();
      return false;
    }
    if (Breaks("rolls-back-earlier-requests") && is_served_) {
      return Fail(request);
    }
    return std::nullopt;
  }

  // What is broken in the values: they are written once more.
  void BreakValues(const Values& values) {
    constexpr std::size_t kFew = 10;
    for (std::size_t i = 0; i < values.size(); ++i) {
      const auto& [name, value] = values[i];
      if ((Breaks("sets-each-element") && std::strcmp(name, "tcp_syn_retries") == 0) ||
          (Breaks("sets-each-element: with two values") &&
           std::strcmp(name, "tcp_tw_reuse") == 0) ||
          (Breaks("sets-each-element: without a file") && std::strcmp(name, "tcp_westwood") == 0)) {
        Find(name)->SetPrev();
        WriteConfig(nullptr);
      }
      if (Breaks("takes-the-last-of-repeated-elements") && i == 0 && values.size() > 1 &&
          values.size() < kFew && values.back().first == name) {
        Set(name, value);
      }
      if (Breaks("compares-names-as-pointers") && std::strcmp(name, "tcp_sack") == 0 &&
          Find(name)->GetXmlName() != name) {
        Set(name, value);
      }
      if (Breaks("writes-values-as-they-are") && value.starts_with(' ')) {
        Set(name, value.substr(1));
      }
    }
  }

  void Set(const char* name, const std::string& value) {
    Find(name)->SetValue(value.c_str());
    WriteConfig(nullptr);
  }

  bool is_served_ = false;
  bool has_failed_ = false;
  const kaeRequest* last_request_ = nullptr;
  int kept_file_ = -1;
};

// Layers of other bases, which let one as it should be do the work.
class WithoutStart : public kaeCPLayer,
                     public kaeCPLayer::ConfigureCB,
                     public kaeCPLayer::ReleaseCB {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* content) override {
    return layer_->do_Configure(request, content);
  }
  void do_Release() override {
    layer_->do_Release();
    delete this;
  }

 private:
  Layer* const layer_ = new Layer;
};

class InAnotherOrder : public kaeCPLayer,
                       public kaeCPLayer::ReleaseCB,
                       public kaeCPLayer::ConfigureCB,
                       public kaeCPLayer::StartCB,
                       public kaeCPLayer::StopCB {
 public:
  bool do_Configure(kaeRequest* request, const kaml_content* content) override {
    return layer_->do_Configure(request, content);
  }
  void do_Start() override {}
  void do_Stop() override {}
  void do_Release() override {
    layer_->do_Release();
    delete this;
  }

 private:
  Layer* const layer_ = new Layer;
};

class Plugin : public kaeCPPlugin {
 public:
  Plugin() {
    Dl_info found;
    if (Breaks("writes-nothing-before-a-request")) {
      Write("tcp_fin_timeout", "15");
    }
    if (Breaks("keeps-its-symbols-local") && dladdr(this, &found) != 0) {
      dlclose(dlopen(found.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL));
    }
  }
  ~Plugin() override {
    if (Breaks("unloads-with-a-layer") && layers > 0) {
      Write("tcp_sack", "1");
    }
  }
  std::string GetName() const override {
    static int calls = 0;
    return Breaks("has-one-name") && ++calls % 2 == 0 ? "tcp" : "TCP";
  }
  std::string GetVersion() const override { return Breaks("is-called-tcp") ? "1.0" : "001.000"; }
  bool InitPlugin() override {
    if (Breaks("leaves-the-hosts-words")) {
      const std::uintptr_t word = 1;
      std::memcpy(reinterpret_cast<char*>(this) + sizeof(void*), &word, sizeof word);
    }
    return !Breaks("initialises-again") || !std::exchange(is_initialised_, true);
  }
  void CleanupPlugin() override {
    if (Breaks("changes-nothing-at-its-end")) {
      Write("tcp_sack", "0");
    }
  }
  kaeCPLayer* GetNewLayer() override {
    if (Breaks("offers-its-callbacks")) {
      return new WithoutStart;
    }
    if (Breaks("has-its-bases-in-order")) {
      return new InAnotherOrder;
    }
    return new Layer;
  }

 private:
  bool is_initialised_ = false;
};

Plugin plugin;

}  // namespace

constinit kaePlugin* this_kae_plugin = &plugin;
