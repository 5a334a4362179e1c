// kaehost list: the options and the help.

#include <CLI/Error.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "devhost/kaehost/command_line.h"
#include "devhost/kaehost/commands.h"
#include "devhost/kaehost/exit_status.h"
#include "devhost/kaehost/json_failure.h"
#include "devhost/kaehost/list/listing.h"
#include "devhost/kaehost/list/report.h"
#include "devhost/kaehost/spelling.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/text/output.h"
#include "devhost/kaehost/text/quoting.h"

namespace devhost {
namespace {

constexpr const char* kFooter =
    R"(Lists the elements that a document can name, with the value that the kernel has
in this network namespace. No plug-in is loaded, and nothing is written. Without
ELEMENT it prints a table, else all that is known of each element:
  now        the value; "missing" if this network namespace does not have the
             file, "unread" if it cannot be read
  default    the plug-in's own default
  imposed    whether the plug-in's first request writes the default if no
             document names the element
  namespace  private: each network namespace has its own value; global: the
             machine has one; -: current kernels do not have the file
  since, until
             the first and the last version of the kernel with the file

Examples:
  kaehost list
  kaehost list tcp_ecn tcp_rmem_max
  kaehost list --document > now.xml

Exit status:
  0   all elements are listed
  1   a tunable cannot be read
  2   the command line is bad, or an element is unknown)";

struct Options {
  std::vector<std::string> elements;
  bool missing = false;
  bool document = false;
  bool json = false;
};

// Returns why an element cannot be listed, empty if all can.
std::string AboutElements(const std::vector<std::string>& names) {
  constexpr std::size_t kLongest = 64;
  for (const std::string& name : names) {
    if (FindInCatalogue(name) == nullptr) {
      return Shown(name, kLongest) + ": " +
             AboutUnknownElement(name, "'kaehost list' shows all elements");
    }
  }
  return "";
}

std::vector<ListedElement> ElementsFor(const Options& options) {
  std::vector<ListedElement> elements = ListElements();
  std::erase_if(elements, [&options](const ListedElement& element) {
    const std::vector<std::string>& names = options.elements;
    const bool is_named =
        names.empty() || std::count(names.begin(), names.end(), element.entry->element) > 0;
    return !is_named || (options.missing && !element.is_missing());
  });
  return elements;
}

void Print(const Options& options, const std::vector<ListedElement>& elements, ExitStatus status) {
  if (options.json) {
    Out() << JsonText(ToJson(elements, status)) << '\n';
    return;
  }
  if (options.document) {
    Out() << DocumentOf(elements);
  } else if (options.elements.empty()) {
    TellTable(elements);
  } else {
    TellEach(elements);
  }
  TellUnread(elements);
}

int List(const Options& options) {
  if (const std::string sentence = AboutElements(options.elements); !sentence.empty()) {
    if (options.json) {
      return PrintJsonFailure(sentence, kBadInput);
    }
    TellError(sentence);
    return kBadInput;
  }
  const std::vector<ListedElement> elements = ElementsFor(options);
  const bool is_complete =
      std::all_of(elements.begin(), elements.end(),
                  [](const ListedElement& element) { return element.error == 0; });
  const ExitStatus status = is_complete ? kDone : kFailed;
  Print(options, elements, status);
  return status;
}

}  // namespace

void AddList(CLI::App& app, Chosen& chosen) {
  const auto options = std::make_shared<Options>();
  CLI::App* list =
      AddCommand(app, "list", "List the elements and the values of the kernel now", kFooter,
                 [options, &chosen] {
                   if (options->document && !options->elements.empty()) {
                     throw CLI::ValidationError("--document prints all elements; remove '" +
                                                Shown(options->elements.front(), 64) + "'");
                   }
                   chosen.run = [options] { return List(*options); };
                 });
  AddOption(list, "ELEMENT", &options->elements, "List only these elements");
  AddOption(list, "--document", &options->document,
            "Print a document that names all elements with the values of now");
  AddOption(list, "--json", &options->json, "Print one JSON document instead",
            {.excludes = "--document"});
  AddOption(list, "--missing", &options->missing,
            "List only the elements whose file this network namespace does not have",
            {.excludes = "--document"});
}

}  // namespace devhost
