#pragma once

#include <map>
#include <string>
#include <vector>

// The real kernel's tunables, read and written past the plug-in. Files are named by their path
// below /proc/sys/net ("ipv4/tcp_sack"). Texts have single blanks between their words and none at
// the ends.

// The text of each file.
using KernelState = std::map<std::string, std::string>;

// Answers every readable file under ipv4 and core.
KernelState ReadKernel();

// Answers the files whose text is another in `after`, with that text.
KernelState Changes(const KernelState& before, const KernelState& after);

std::string KernelPath(const std::string& file);

bool KernelHas(const std::string& file);

// Answers the error (errno) of opening the file for writing, 0 when it opens.
int WriteOpenError(const std::string& file);

std::string KernelText(const std::string& file);

// Writes the text; throws when the kernel does not take it.
void SetKernel(const std::string& file, const std::string& text);

std::vector<std::string> Words(const std::string& text);
std::string Join(const std::vector<std::string>& words);
