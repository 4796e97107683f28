#include "train/vm_report.h"

#include <algorithm>
#include <utility>

namespace train {
namespace {

std::string WithoutEntities(std::string_view text) {
  constexpr std::pair<std::string_view, char> kEntities[] = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}, {"&amp;", '&'}};
  std::string plain;
  while (!text.empty()) {
    const auto* const found = std::find_if(std::begin(kEntities), std::end(kEntities),
                                           [&](const auto& entity) { return text.starts_with(entity.first); });
    plain.push_back(found != std::end(kEntities) ? found->second : text.front());
    text.remove_prefix(found != std::end(kEntities) ? found->first.size() : 1);
  }
  return plain;
}

std::optional<std::string_view> Element(std::string_view text, std::string_view name) {
  const std::string opening = "<" + std::string(name) + ">\n";
  const size_t begin = text.find(opening);
  const size_t end = text.find("</" + std::string(name) + ">");
  if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) return {};
  return text.substr(begin + opening.size(), end - begin - opening.size());
}

std::string Line(std::string_view text) { return WithoutEntities(text.substr(0, text.find('\n'))); }

std::string Property(std::string_view properties, std::string_view name) {
  const std::string begin = "\n" + std::string(name) + "=";
  const size_t at = properties.find(begin);
  return at == std::string_view::npos ? std::string() : Line(properties.substr(at + begin.size()));
}

}  // namespace

std::optional<VmReport> ReadVmReport(std::string_view text) {
  std::string lines(text);
  std::erase(lines, '\r');
  const auto release = Element(lines, "release");
  const auto arguments = Element(lines, "args");
  const auto found = Element(lines, "properties");
  if (!release || !arguments || !found) return {};
  const std::string properties = "\n" + std::string(*found);
  VmReport report;
  report.version = Line(*release);
  report.arguments = Line(*arguments);
  report.home = Property(properties, "java.home");
  report.classPath = Property(properties, "java.class.path");
  report.bootClassPath = Property(properties, "jdk.boot.class.path.append");
  if (report.bootClassPath.starts_with(';')) report.bootClassPath.erase(0, 1);  // so Java 17 has it
  return report.home.empty() ? std::nullopt : std::optional(report);
}

std::string ClassPathOfArchive(std::string_view classPath) {
  std::string jars;
  while (!classPath.empty()) {
    const size_t end = std::min(classPath.find(';'), classPath.size());
    const std::string_view entry = classPath.substr(0, end);
    if (entry.size() < 4 || (!entry.ends_with(".jar") && !entry.ends_with(".JAR"))) break;
    jars += (jars.empty() ? "" : ";") + std::string(entry);
    classPath.remove_prefix(std::min(end + 1, classPath.size()));
  }
  return jars;
}

}  // namespace train
