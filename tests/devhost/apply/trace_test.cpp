// kaehost apply --trace: each call between host and plug-in, and each file that the plug-in opens.

#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "devhost/kaehost/kernel/catalogue.h"
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

  const TempFolder folder_;
  const std::string document_ = folder_.Write(
      "document.xml", "<tcp-settings><tcp_sack>0</tcp_sack><x/>\n<!-- --></tcp-settings>");
};

std::vector<json> Objects(const std::string& text) {
  std::istringstream lines(text);
  std::vector<json> objects;
  for (std::string line; std::getline(lines, line);) {
    objects.push_back(json::parse(line));
  }
  return objects;
}

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

void ForbidFilters() {
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_seccomp, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EBUSY),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {std::size(steps), steps};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

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
  EXPECT_EQ(interned[1], json::parse(R"({"host_call": "kaml_intern", "arguments": ["\"rmem_max\""],
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
                                       "Device or resource busy\n"),
                             HasSubstr("\ntrace: do_Configure returned true\n"),
                             Not(HasSubstr("trace:   open "))));
}
