// kaehost apply --trace: each call between host and plug-in, and each file that the plug-in opens.

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <limits>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
#include "devhost/kaehost/plugin/open_calls.h"
#include "devhost/kaehost/plugin/trace.h"
#include "tests/devhost/support/json.h"
#include "tests/devhost/support/private_run.h"
#include "tests/devhost/support/running_kaehost.h"
#include "tests/devhost/support/temp_folder.h"

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using Lines = std::vector<std::string>;

// Its lines that are JSON objects.
std::vector<json> Objects(const std::string& text) {
  std::istringstream lines(text);
  std::vector<json> objects;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('{')) {
      objects.push_back(Parsed(line));
    }
  }
  return objects;
}

class Trace : public testing::Test {
 protected:
  Outcome Apply(const Lines& options, const std::function<void()>& prepare = {}) const {
    Lines arguments = {"apply", "--quiet", "--trace", document_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Kaehost(arguments, prepare);
  }

  // The lines of a trace with a plug-in of the tests, without files.
  Lines Calls(const std::string& plugin, const std::function<void()>& prepare = {}) const {
    std::istringstream trace(Apply({"--plugin", TestPlugin(plugin)}, prepare).err);
    Lines lines;
    for (std::string line; std::getline(trace, line);) {
      if (line.starts_with("trace: ") && !line.starts_with("trace:   open ")) {
        lines.push_back(line.substr(7));
      }
    }
    return lines;
  }

  // With a plug-in that opens files in a certain way.
  json Opens(const std::string& way, const Lines& options = {}) const {
    Lines arguments = {"apply", "--json", "--trace", "--plugin", TestPlugin("opens"), document_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome run = Kaehost(arguments, [&] {
      setenv("OPENS", way.c_str(), 1);
      setenv("HOME", folder_.Path("").c_str(), 1);
    });
    json report = Parsed(run.out);
    report["trace"] = Objects(run.err);
    return report;
  }

  const TempFolder folder_;
  const std::string document_ = folder_.Write(
      "document.xml", "<tcp-settings><tcp_sack>0</tcp_sack><x/>\n<!-- --></tcp-settings>");
};

// The files that the plug-in opens in each pass, with the errors.
json FilesOfAPass(bool writes) {
  json files = json::array();
  std::string former;
  for (const devhost::CatalogueEntry& entry : devhost::Catalogue()) {
    if (entry.file != former) {
      former = entry.file;
      const std::string path = "/proc/sys/net/" + former;
      const bool is_there = std::filesystem::exists(path);
      files.push_back({{"open", path},
                       {"writes", writes},
                       {"error", is_there ? json(nullptr) : json("No such file or directory")}});
    }
  }
  return files;
}

// The objects of a trace from the begin of a call into the plug-in to its end.
json During(const std::vector<json>& trace, const std::string& call, const std::string& key) {
  json found = json::array();
  bool is_inside = false;
  for (const json& object : trace) {
    is_inside = object.value("plugin_call", "") == call ||
                (is_inside && object.value("plugin_return", "") != call);
    if (is_inside && object.contains(key)) {
      found.push_back(object);
    }
  }
  return found;
}

// What a call returns that is never shown.
struct Unseen {};

std::string TextOf(Unseen /*none*/) { throw std::bad_alloc(); }

bool IsKernelSince(int major, int minor) {
  utsname kernel = {};
  std::pair<int, int> version;
  return uname(&kernel) == 0 &&
         std::sscanf(kernel.release, "%d.%d", &version.first, &version.second) == 2 &&
         version >= std::pair(major, minor);
}

// Whether the main thread can open files for a thread that has done `change`.
bool CanOpenFor(const std::function<void()>& change) {
  std::promise<pid_t> is_changed;
  std::promise<void> is_asked;
  std::thread thread([&] {
    change();
    is_changed.set_value(gettid());
    is_asked.get_future().wait();
  });
  const pid_t id = is_changed.get_future().get();
  const bool can = devhost::OpenCall{id, 0, {}, "", false}.CanRunHere();
  is_asked.set_value();
  thread.join();
  return can;
}

void DropARight() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct rights[_LINUX_CAPABILITY_U32S_3] = {};
  syscall(SYS_capget, &header, rights);
  rights[0].effective &= ~(1U << CAP_CHOWN);
  syscall(SYS_capset, &header, rights);
}

// As much stack as a thread is given here, there is not.
void ForbidThreads() {
  rlimit stack = {};
  getrlimit(RLIMIT_STACK, &stack);
  stack.rlim_cur = std::numeric_limits<unsigned long>::max() / 4 * 3;
  if (setrlimit(RLIMIT_STACK, &stack) != 0) {
    _exit(126);
  }
}

void ForbidFilters() { Forbid(SYS_seccomp, 0, SECCOMP_SET_MODE_FILTER); }

}  // namespace

TEST_F(Trace, HasTheCallsIntoThePluginInTheirOrder) {
  const std::string path = '"' + TestPlugin("working") + '"';
  EXPECT_THAT(
      Calls("working"),
      ElementsAre("dlopen(" + path + ")", "dlopen returned (object)", "InitPlugin()",
                  "InitPlugin returned true", "GetName()", "GetName returned \"test plug-in\"",
                  "GetVersion()", "GetVersion returned \"1.0\"", "GetNewLayer()",
                  "GetNewLayer returned (object)", "do_Configure(request, <tcp-settings>)",
                  "  SendSuccess(null) = true", "do_Configure returned true", "do_Release()",
                  "do_Release returned", "CleanupPlugin()", "CleanupPlugin returned", "dlclose()",
                  "dlclose returned true"));
}

TEST_F(Trace, HasTheCallsToTheHostWithArgumentsAndResults) {
  const std::vector<json> trace = Objects(Kaehost({"apply", "--json", "--trace", document_}).err);
  Lines calls;
  for (const json& call : During(trace, "do_Configure", "host_call")) {
    calls.push_back(call["host_call"].get<std::string>() + ' ' +
                    call["arguments"][0].get<std::string>() + " = " +
                    call["result"].get<std::string>());
  }
  EXPECT_THAT(calls, AllOf(testing::IsSupersetOf({
                               "kaml_elem_name <tcp-settings> = \"tcp-settings\"",
                               "kaml_elem_contents <tcp-settings> = <tcp_sack>",
                               "kaml_elem_contents <tcp_sack> = \"0\"",
                               "kaml_cont_type \"0\" = 0",
                               "kaml_text \"0\" = \"0\"",
                               "kaml_cont_next <x> = \"\n\"",
                               "kaml_elem_name \"\n\" = null",
                               "kaml_cont_next \"\n\" = content of type 2",
                               "kaml_cont_next content of type 2 = null",
                           }),
                           testing::Contains("SendSuccess null = true").Times(1)));
  EXPECT_EQ(calls.back(), "SendSuccess null = true");
  const json interned = During(trace, "GetNewLayer", "host_call");
  EXPECT_EQ(interned.size(), 1 + devhost::Catalogue().size());
  EXPECT_EQ(interned[1], Parsed(R"({"host_call": "kaml_intern", "arguments": ["\"rmem_max\""],
                                        "result": "\"rmem_max\""})"));
}

TEST_F(Trace, HasTheFilesOfEachPass) {
  const std::vector<json> trace = Objects(Kaehost({"apply", "--json", "--trace", document_}).err);
  EXPECT_EQ(During(trace, "GetNewLayer", "open"), FilesOfAPass(false));
  EXPECT_EQ(During(trace, "do_Configure", "open"), FilesOfAPass(true));
  EXPECT_EQ(During(trace, "do_Release", "open"), FilesOfAPass(true));
  const std::string text = Apply({}).err;
  EXPECT_THAT(text, AllOf(HasSubstr("\ntrace:   open /proc/sys/net/ipv4/tcp_sack for reading\n"),
                          HasSubstr("\ntrace:   open /proc/sys/net/ipv4/tcp_sack for writing\n"),
                          HasSubstr("\ntrace:   open /proc/sys/net/ipv4/tcp_bic for writing: No "
                                    "such file or directory\n")));
}

TEST_F(Trace, HasNoFilesThatKaehostOpens) {
  const std::string path = TestPlugin("working");
  EXPECT_THAT(Apply({"--plugin", path}).err,
              StartsWith("trace: dlopen(\"" + path + "\")\ntrace:   open " + path +
                         " for reading\ntrace: dlopen returned (object)\n"));
}

TEST_F(Trace, ChangesNothingElse) {
  const auto report = [this](const Lines& more) {
    Lines arguments = {"apply", "--json", document_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Kaehost(arguments);
  };
  const Outcome with = report({"--trace"});
  const Outcome without = report({});
  EXPECT_EQ(without.err, "");
  EXPECT_EQ(with.out, without.out);
  EXPECT_EQ(with.status, without.status);
}

TEST_F(Trace, HasErrorReplies) {
  EXPECT_THAT(Calls("errs_twice"),
              testing::IsSupersetOf({"  SendError(\"first\", \"one\") = true",
                                     "  SendError(\"second\", \"two\") = false",
                                     "do_Configure returned false"}));
}

TEST_F(Trace, HasWhatThePluginThrows) {
  EXPECT_THAT(Calls("configure_throws"),
              testing::Contains("do_Configure threw: no memory for a value"));
  const Outcome run =
      Kaehost({"apply", "--json", "--trace", document_, "--plugin", TestPlugin("init_throws")});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.err, HasSubstr(R"({"plugin_return":"InitPlugin","result":null,"thrown":")"));
}

TEST_F(Trace, EndsWithTheCallThatDidNotReturn) {
  const auto crash = [] { setenv("MISBEHAVES", "do_Configure crash", 1); };
  EXPECT_EQ(Calls("misbehaves", crash).back(), "do_Configure(request, <tcp-settings>)");
}

TEST_F(Trace, CutsLongLines) {
  const std::string document =
      folder_.Write("long.xml", "<tcp-settings><tcp_sack>" + std::string(100'000, '1') +
                                    "</tcp_sack></tcp-settings>");
  const Outcome run = Kaehost({"apply", "--quiet", "--trace", document});
  EXPECT_THAT(run.err, Not(HasSubstr(std::string(1000, '1'))));
  EXPECT_THAT(run.err, HasSubstr("kaml_text(\"1111"));
}

TEST_F(Trace, TellsIfFilesCannotBeSeen) {
  const Outcome run = Apply({}, ForbidFilters);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, AllOf(HasSubstr("trace: cannot trace the files that the plug-in opens: "
                                       "Operation not permitted\n"),
                             HasSubstr("\ntrace: do_Configure returned true\n"),
                             Not(HasSubstr("trace:   open "))));
}

TEST_F(Trace, MakesNoTextsIfThereIsNone) {
  EXPECT_NO_THROW(devhost::Traced("do_Configure", {}, [] { return Unseen(); }));
}

TEST_F(Trace, IsLostIfNobodyReadsIt) {
  const auto prepare = [] {
    int ends[2];
    if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0 || close(ends[0]) != 0) {
      _exit(126);
    }
  };
  const Outcome run = Apply({}, prepare);
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr(": 1 applied"));
}

// For a few signals, the kernel forgets that there was a result.
TEST_F(Trace, HasEachOpeningOnceUnderSignals) {
  const json report = Opens("under signals");
  const std::size_t openings = During(report["trace"], "do_Configure", "open").size();
  EXPECT_GE(openings, 500U);
  EXPECT_LE(openings, IsKernelSince(5, 19) ? 525U : 10'000U);
  int leaked = -1;
  for (const std::string line : report["progress"]) {
    std::sscanf(line.c_str(), "[leaked %d]", &leaked);
  }
  EXPECT_GE(leaked, 0);
  EXPECT_LE(leaked, 25);
}

TEST_F(Trace, LetsAThreadOpenFilesInItsOwnNamespace) {
  const json report = Opens("in a namespace of a thread");
  EXPECT_THAT(report["progress"], Not(testing::Contains("[no namespace]")));
  EXPECT_EQ(report["restored_by_kaehost"], json::array());
  EXPECT_EQ(During(report["trace"], "do_Configure", "open"), Parsed(R"([
      {"open": "/proc/sys/net/ipv4/tcp_sack", "writes": true, "error": null}])"));
}

TEST_F(Trace, LetsAThreadWithOtherSurroundingsOpenItsFiles) {
  EXPECT_TRUE(CanOpenFor([] {}));
  EXPECT_FALSE(CanOpenFor(DropARight));
  for (const int share : {CLONE_FILES, CLONE_FS, CLONE_NEWNET}) {
    EXPECT_FALSE(CanOpenFor([share] { EXPECT_EQ(unshare(share), 0); })) << share;
  }
}

TEST_F(Trace, LetsFilesWaitForEachOther) {
  const json report = Opens("beside a pipe");
  EXPECT_EQ(During(report["trace"], "do_Configure", "open").size(), 3U);
}

TEST_F(Trace, HasFilesThatAreOpenedByOpenat2) {
  const json report = Opens("with openat2");
  EXPECT_THAT(report["progress"], testing::Contains("[result 0]"));
  EXPECT_EQ(During(report["trace"], "do_Configure", "open"), Parsed(R"([
      {"open": "/proc/sys/net/ipv4/tcp_sack", "writes": true, "error": null},
      {"open": "/proc/sys/net/ipv4/tcp_sack", "writes": true, "error": null}])"));
}

TEST_F(Trace, HasFilesThatAThreadOpensBetweenCalls) {
  const json report = Opens("between calls", {"--", "sleep", "0.1"});
  EXPECT_THAT(report["trace"], testing::Contains(Parsed(R"(
      {"open": "/proc/sys/net/ipv4/tcp_fin_timeout", "writes": false, "error": null})")));
}

TEST_F(Trace, TakesNoRightsFromPrograms) {
  EXPECT_THAT(Opens("")["progress"], testing::Contains("[no_new_privs 0]"));
}

TEST_F(Trace, HasFilesWithoutTheRightToWatchAllPrograms) {
  const PrivateRun run;
  const auto prepare = [] {
    setenv("OPENS", "with openat2", 1);
    prctl(PR_CAPBSET_DROP, CAP_SYS_ADMIN, 0, 0, 0);
  };
  EXPECT_THAT(Apply({"--live", "--plugin", TestPlugin("opens"), "--", "true"}, prepare).err,
              HasSubstr("trace:   open /proc/sys/net/ipv4/tcp_sack for writing\n"));
}

// Older kernels do not tell.
// Before 6.11, the kernel keeps the thread that opens files waiting.
TEST_F(Trace, EndsWithThePluginThatEndsItsMainThread) {
  const bool ends_itself = IsKernelSince(6, 11);
  RunningKaehost kaehost(
      {"apply", "--trace", "--kill-after=1", "--plugin", TestPlugin("opens"), document_},
      [] { setenv("OPENS", "without a main thread", 1); });
  ASSERT_TRUE(kaehost.HasSaid("SendSuccess(null) = true"));
  if (!ends_itself) {
    kill(kaehost.pid(), SIGTERM);
  }
  const Outcome run = kaehost.Finish();
  EXPECT_THAT(run.out, HasSubstr(ends_itself ? "the plug-in's process ended with status 0 during "
                                               "request 1 of 1: "
                                             : "the plug-in's process did not return within 1 s "
                                               "after a signal and was killed during request 1 of "
                                               "1: "));
  EXPECT_EQ(run.status, 1);
}

TEST_F(Trace, EndsThePluginThatClosesItsDescriptor) {
  const Outcome run =
      Apply({"--plugin", TestPlugin("opens")}, [] { setenv("OPENS", "without listener", 1); });
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("kaehost: cannot watch the files that the plug-in opens any more: "
                                 "Bad file descriptor; leave out --trace and --fail\n"));
  EXPECT_THAT(run.out, HasSubstr("ended with status 1"));
}

TEST_F(Trace, TellsIfThereIsNoThreadForFiles) {
  const Outcome run = Apply({}, ForbidThreads);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.err, AllOf(HasSubstr("trace: cannot trace the files that the plug-in opens: "
                                       "Resource temporarily unavailable\n"),
                             HasSubstr("\ntrace: do_Configure returned true\n")));
}
