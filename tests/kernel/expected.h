#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/kernel/kernel.h"
#include "tests/support/catalogue.h"

// What a layer is expected to hold and to tell on the kernel that these tests run on. Which files
// there are, and which refuse to be written, is taken from the kernel at the time of the call.

// A value for each setting, by its name.
using Values = std::map<std::string, std::string>;

// The values that a request names, in document order.
using Named = std::vector<std::pair<std::string, std::string>>;

// Answers what a snapshot taken now holds: the kernel's words, and the default for a setting whose
// file the kernel lacks.
Values Snapshot();

// Answers what a layer with that snapshot writes for its first request, with these values named.
Values FirstRequest(const Values& snapshot, const Named& named = {});

// Answers the settings that have a file of their own and that the kernel has, in catalogue order.
std::vector<ExpectedSetting> PresentSettings();

// Answers the place of the setting's value among the words of its file.
std::size_t WordIndex(const ExpectedSetting& setting);

// The lines of a whole pass over the catalogue. A file that refuses to be written has its line as
// in a pass without a request.
std::string SnapshotLines(const Values& values);
std::string WriteLines(const Values& values);
std::string RollbackLines(const Values& values);

// The lines with which a request begins, before it writes.
std::string ReceivedLines(const Named& named);
