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
    words += path == std::string("/proc/sys/net/") + setting.file ? 1U : 0U;
  }
  return words;
}

void Open(std::ifstream& file, const std::string& path) { file.open(path, std::ios::in); }

void Open(std::ofstream& file, const std::string& path) {
  file.open(path, std::ios::out | std::ios::binary);
}

}  // namespace

Streams::Streams(const std::vector<SystemCall>& calls) {
  for (const SystemCall& call : calls) {
    if (call.name == "openat") {
      const bool reads = call.flags == "O_RDONLY";
      if (reads_.value_or(reads) != reads) {
        throw std::runtime_error("a pass reads or writes, but not both: " + call.path);
      }
      reads_ = reads;
      Step step = {Step::kFile, call.path, "", ""};
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

void Streams::Move(std::ifstream& file, const Step& step) {
  std::string word;
  for (unsigned long i = 0; i < step.words; ++i) {
    file >> word;
  }
}

void Streams::Move(std::ofstream& file, const Step& step) { file << step.value; }

template <class File>
void Streams::RunWith() const {
  char buffer[BUFSIZ];
  File file;
  file.rdbuf()->pubsetbuf(buffer, sizeof buffer);
  for (const Step& step : steps_) {
    switch (step.kind) {
      case Step::kLine:
        std::cout << step.text << std::endl;
        break;
      case Step::kValue:
        std::printf("%s = %s\n", step.name.c_str(), step.value.c_str());
        break;
      case Step::kFile:
        file.clear();
        Open(file, step.text);
        if (file.is_open() == step.missing) {
          throw std::runtime_error("not as in the trace: " + step.text);
        }
        if (!step.missing) {
          Move(file, step);
        }
        file.clear();
        file.close();
        break;
    }
  }
}

void Streams::Run() const {
  if (reads_.value_or(false)) {
    RunWith<std::ifstream>();
  } else {
    RunWith<std::ofstream>();
  }
}

}  // namespace bench
