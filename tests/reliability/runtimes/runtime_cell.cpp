#include "tests/reliability/runtimes/runtime_cell.h"

#include <algorithm>
#include <cctype>

#include "tests/support/text.h"

namespace qvtest {
namespace {

// Wine 8 has no affinity of processor groups, which later JVMs ask for.
constexpr char kOfTheEmulator[] = "process group affinity";

constexpr const char* kWarningWords[] = {"warning", "deprecated", "obsolete", "not supported", "ignoring"};

// Without "[0.123s][warning][gc] " and "OpenJDK 64-Bit Server VM warning: ", whose text may come elsewhere.
std::string WithoutDecoration(std::string text) {
  while (!text.empty() && text.front() == '[' && text.find(']') != std::string::npos) {
    text.erase(0, text.find_first_not_of(' ', text.find(']') + 1));
  }
  const std::string prefix = "OpenJDK 64-Bit Server VM warning: ";
  for (size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix)) text.erase(at, prefix.size());
  return text.erase(text.find_last_not_of(' ') + 1);
}

bool IsNews(const std::string& line) {
  for (const char* part : {"native method", "*** Starting JVM Logging ***", kOfTheEmulator}) {
    if (line.find(part) != std::string::npos) return false;
  }
  return true;
}

}  // namespace

std::vector<std::string> SaidIn(const std::string& output) {
  std::vector<std::string> said;
  for (const std::string& line : LinesOf(output)) {
    const std::string text = IsNews(line) ? WithoutDecoration(line) : "";
    if (!text.empty() && std::find(said.begin(), said.end(), text) == said.end()) said.push_back(text);
  }
  return said;
}

std::vector<std::string> WarningsIn(const std::string& output) {
  std::vector<std::string> warnings = SaidIn(output);
  std::erase_if(warnings, [](std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return std::none_of(std::begin(kWarningWords), std::end(kWarningWords),
                        [&](const char* word) { return text.find(word) != std::string::npos; });
  });
  return warnings;
}

std::string Joined(const std::vector<std::string>& texts, const char* separator) {
  std::string joined;
  for (const std::string& text : texts) joined += (joined.empty() ? "" : separator) + text;
  return joined;
}

std::string AsCode(std::string_view option, const char* otherwise) {
  if (option.empty()) return otherwise;
  std::string text = "`";
  text.append(option).append("`");
  return text;
}

}  // namespace qvtest
