// The report as a JUnit XML document, as test servers read it.

#include <chrono>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

#include "devhost/kaehost/text/characters.h"
#include "devhost/kaehost/text/json.h"
#include "devhost/kaehost/validate/report.h"

namespace devhost {
namespace {

using Seconds = std::chrono::duration<double>;

// As the value of an attribute. XML has no form for control characters, nor for bytes that are not
// UTF-8 and the noncharacters U+FFFE and U+FFFF.
std::string Attribute(const std::string& text) {
  const std::string utf8 = Json::parse(JsonText(Json(text))).get<std::string>();
  std::string escaped;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const std::string rest = utf8.substr(i, 3);
    if (rest == "\xEF\xBF\xBE" || rest == "\xEF\xBF\xBF") {
      escaped += "<not a character>";
      i += 2;
    } else {
      escaped += utf8[i];
    }
  }
  std::string attribute;
  for (const char character : Visible(escaped)) {
    switch (character) {
      case '&':
        attribute += "&amp;";
        break;
      case '<':
        attribute += "&lt;";
        break;
      case '>':
        attribute += "&gt;";
        break;
      case '"':
        attribute += "&quot;";
        break;
      default:
        attribute += character;
    }
  }
  return attribute;
}

void Append(std::ostream& xml, const TestResult& result) {
  const std::string about = Attribute(AboutResult(result));
  xml << R"(    <testcase classname="kaehost.validate" name=")" << result.test->name << "\" time=\""
      << Seconds(result.time).count() << '"';
  switch (result.result) {
    case Result::kPassed:
      xml << "/>\n";
      return;
    case Result::kSkipped:
      xml << ">\n      <skipped message=\"" << about << "\"/>\n    </testcase>\n";
      return;
    case Result::kFailed:
      xml << ">\n      <failure message=\"" << about << "\"/>\n    </testcase>\n";
      return;
    case Result::kCrashed:
    case Result::kTimedOut:
      xml << ">\n      <error message=\"" << WordFor(result.result) << ": " << about
          << "\"/>\n    </testcase>\n";
      return;
  }
}

}  // namespace

std::string JUnitReport(const Plan& plan, const Validation& validation) {
  std::size_t failures = 0;
  std::size_t errors = 0;
  std::size_t skipped = 0;
  Seconds time{};
  for (const TestResult& result : validation.results) {
    failures += result.result == Result::kFailed ? 1 : 0;
    errors += result.result == Result::kCrashed || result.result == Result::kTimedOut ? 1 : 0;
    skipped += result.result == Result::kSkipped ? 1 : 0;
    time += result.time;
  }
  std::ostringstream xml;
  xml.imbue(std::locale::classic());
  xml << std::fixed << std::setprecision(6) << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<testsuites>\n  <testsuite name=\"kaehost validate\" tests=\""
      << validation.results.size() << "\" failures=\"" << failures << "\" errors=\"" << errors
      << "\" skipped=\"" << skipped << "\" time=\"" << time.count() << "\">\n    <properties>\n";
  for (const auto& [name, value] : {
           std::pair<const char*, std::string>{"plugin",  plan.plugin              },
           {"name",    validation.name          },
           {"version", validation.version       },
           {"kernel",  ThisKernel()             },
           {"seed",    std::to_string(plan.seed)}
  }) {
    xml << "      <property name=\"" << name << "\" value=\"" << Attribute(value) << "\"/>\n";
  }
  xml << "    </properties>\n";
  for (const TestResult& result : validation.results) {
    Append(xml, result);
  }
  xml << "  </testsuite>\n</testsuites>\n";
  return xml.str();
}

}  // namespace devhost
