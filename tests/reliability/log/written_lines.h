// Lines that tests have written to a log, and what became of them in the file.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qvtest {

struct LineCount {
  int found = 0;
  int lost = 0;
  int mixed = 0;  // lines of the file that nobody wrote so: pieces, or several in one
};

// Lines end in "\r\n" or "\n"; empty ones and the log's header do not count.
inline LineCount CountLines(std::string_view content, const std::set<std::string>& written) {
  LineCount count;
  std::set<std::string> missing = written;
  while (!content.empty()) {
    const size_t end = content.find('\n');
    std::string line(content.substr(0, end));
    content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
    std::erase(line, '\r');
    if (line.empty() || line == "*** Starting JVM Logging ***") continue;
    if (missing.erase(line) != 0) {
      ++count.found;
    } else {
      ++count.mixed;
    }
  }
  count.lost = static_cast<int>(missing.size());
  return count;
}

}  // namespace qvtest
