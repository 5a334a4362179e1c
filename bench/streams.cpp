#include "bench/streams.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include "tests/support/catalogue.h"

namespace bench {
namespace {

unsigned long WordsOf(const std::string& path) {
  unsigned long words = 0;
  for (const ExpectedSetting& setting : ExpectedCatalogue()) {
    words += path == std::string("/proc/sys/net/") + setting.file ? 1 : 0;
  }
  return words;
}

}  // namespace

Streams::Streams(const std::vector<SystemCall>& calls) {
  for (const SystemCall& call : calls) {
    if (call.name == "openat") {
      Step step = {call.flags == "O_RDONLY" ? Step::kRead : Step::kWrite, call.path, "", ""};
      step.missing = call.result < 0;
      step.words = WordsOf(call.path);
      steps_.push_back(step);
    } else if (call.name == "write" && call.fd == STDOUT_FILENO) {
      AddLines(call.text);
    } else if (call.name == "write") {
      steps_.back().value = call.text;
    }
  }
}

// One write contains the flushed line, and before it the values that waited in the buffer.
void Streams::AddLines(const std::string& printed) {
  std::size_t start = 0;
  for (std::size_t end = 0; (end = printed.find('\n', start)) != std::string::npos;
       start = end + 1) {
    const std::string line = printed.substr(start, end - start);
    const std::size_t sign = line.find(" = ");
    if (end + 1 == printed.size()) {
      steps_.push_back({Step::kLine, line, "", ""});
    } else if (sign != std::string::npos) {
      steps_.push_back({Step::kValue, "", line.substr(0, sign), line.substr(sign + 3)});
    } else {
      throw std::runtime_error("neither flushed nor a value: " + line);
    }
  }
}

void Streams::Read(std::ifstream& file, const Step& step) {
  file.clear();
  file.open(step.text, std::ios::in);
  if (file.is_open() == step.missing) {
    throw std::runtime_error("not as in the trace: " + step.text);
  }
  std::string word;
  for (unsigned long i = 0; !step.missing && i < step.words; ++i) {
    file >> word;
  }
  file.clear();
  file.close();
}

void Streams::Write(std::ofstream& file, const Step& step) {
  file.clear();
  file.open(step.text, std::ios::out | std::ios::binary);
  if (file.is_open() == step.missing) {
    throw std::runtime_error("not as in the trace: " + step.text);
  }
  if (!step.missing) {
    file << step.value;
  }
  file.clear();
  file.close();
}

void Streams::Run() const {
  char buffer[BUFSIZ];
  std::ifstream in;
  std::ofstream out;
  in.rdbuf()->pubsetbuf(buffer, sizeof buffer);
  out.rdbuf()->pubsetbuf(buffer, sizeof buffer);
  for (const Step& step : steps_) {
    switch (step.kind) {
      case Step::kLine:
        std::cout << step.text << std::endl;
        break;
      case Step::kValue:
        std::printf("%s = %s\n", step.name.c_str(), step.value.c_str());
        break;
      case Step::kRead:
        Read(in, step);
        break;
      case Step::kWrite:
        Write(out, step);
        break;
    }
  }
}

}  // namespace bench
