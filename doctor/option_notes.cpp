// One table: prefix of the option, the versions it concerns, what they do.
#include "doctor/option_notes.h"

#include <algorithm>

namespace doctor {

namespace {

constexpr int kNewest = 1000;

struct Row {
  std::wstring_view prefix;
  int first;  // Java versions, both included
  int last;
  bool fatal;
  std::wstring_view text;
};

constexpr Row kRows[] = {
    {L"-Djava.compiler=", 1, 20, false, L"NONE runs all Java code in the interpreter, many times slower"},
    {L"-Djava.compiler=", 21, kNewest, false, L"ignored with a warning since Java 21"},
    {L"-Xbootclasspath/p:", 9, kNewest, true, L"removed in Java 9"},
    {L"-Xbootclasspath:", 9, kNewest, true, L"removed in Java 9"},
    {L"-Djava.ext.dirs=", 9, kNewest, true, L"extension folders were removed in Java 9"},
    {L"-Djava.endorsed.dirs=", 9, kNewest, true, L"endorsed folders were removed in Java 9"},
    {L"-XX:MaxPermSize", 8, 16, false, L"ignored with a warning since Java 8"},
    {L"-XX:MaxPermSize", 17, kNewest, true, L"removed in Java 17"},
    {L"-XX:PermSize", 8, 16, false, L"ignored with a warning since Java 8"},
    {L"-XX:PermSize", 17, kNewest, true, L"removed in Java 17"},
    {L"-Xincgc", 9, kNewest, true, L"removed in Java 9"},
    {L"-XX:+UseConcMarkSweepGC", 9, 13, false, L"deprecated since Java 9"},
    {L"-XX:+UseConcMarkSweepGC", 14, 14, false, L"ignored with a warning"},
    {L"-XX:+UseConcMarkSweepGC", 15, kNewest, true, L"removed in Java 14"},
    {L"-XX:+UseParNewGC", 9, 10, false, L"ignored with a warning"},
    {L"-XX:+UseParNewGC", 11, kNewest, true, L"removed in Java 11"},
    {L"-XX:+AggressiveOpts", 11, 12, false, L"ignored with a warning"},
    {L"-XX:+AggressiveOpts", 13, kNewest, true, L"removed in Java 13"},
    {L"-Djava.security.manager", 17, 23, false, L"deprecated, with a warning, since Java 17"},
    {L"-Djava.security.manager", 24, kNewest, true, L"the security manager was removed in Java 24"},
    {L"-verbose:jni", 1, kNewest, false, L"fills the JVM log"},
    {L"-Xcheck:jni", 1, kNewest, false, L"checks every JNI call: slow, for tests"},
};

bool IsKnownShape(std::wstring_view option) {
  for (const std::wstring_view start : {L"-XX:",
                                        L"-Xmx",
                                        L"-Xms",
                                        L"-Xmn",
                                        L"-Xss",
                                        L"-Xbootclasspath",
                                        L"-Xcheck:jni",
                                        L"-Xint",
                                        L"-Xcomp",
                                        L"-Xmixed",
                                        L"-Xbatch",
                                        L"-Xrs",
                                        L"-Xlog",
                                        L"-Xshare:",
                                        L"-Xverify",
                                        L"-Xnoclassgc",
                                        L"-Xdebug",
                                        L"-Xrun",
                                        L"-Xnoagent",
                                        L"-Xfuture",
                                        L"-Xprof",
                                        L"-Xmaxjitcodesize",
                                        L"-D",
                                        L"-verbose",
                                        L"-ea",
                                        L"-da",
                                        L"-esa",
                                        L"-dsa",
                                        L"-enable",
                                        L"-disable",
                                        L"-agentlib:",
                                        L"-agentpath:",
                                        L"-javaagent:",
                                        L"--add-",
                                        L"--module-path",
                                        L"--patch-module",
                                        L"--limit-modules",
                                        L"--enable-",
                                        L"--illegal-access",
                                        L"--sun-misc",
                                        L"--finalization",
                                        L"--upgrade-module"}) {
    if (option.starts_with(start)) return true;
  }
  return option == L"vfprintf" || option == L"exit" || option == L"abort";
}

// -Xmx128m: digits and a unit.
bool IsSize(std::wstring_view text) {
  const size_t digits = std::min(text.find_first_not_of(L"0123456789"), text.size());
  const std::wstring_view unit = text.substr(digits);
  return digits != 0 && digits < 19 &&
         (unit.empty() ||
          (unit.size() == 1 && std::wstring_view(L"kKmMgGtT").find(unit[0]) != std::wstring_view::npos));
}

}  // namespace

std::vector<std::wstring> WordsOf(std::wstring_view text) {
  std::vector<std::wstring> words;
  std::wstring word;
  bool inside = false;
  wchar_t quote = 0;
  for (const wchar_t unit : text) {
    if (quote != 0) {
      if (unit == quote) {
        quote = 0;
      } else {
        word += unit;
      }
    } else if (unit == L'"' || unit == L'\'') {
      quote = unit;
      inside = true;
    } else if (unit == L' ' || (unit >= L'\t' && unit <= L'\r')) {
      if (inside) words.push_back(std::move(word));
      word.clear();
      inside = false;
    } else {
      word += unit;
      inside = true;
    }
  }
  if (inside) words.push_back(std::move(word));
  return words;
}

std::optional<OptionNote> NoteFor(std::wstring_view option, std::optional<int> major) {
  for (const Row& row : kRows) {
    if (!option.starts_with(row.prefix)) continue;
    if (major && *major >= row.first && *major <= row.last) return OptionNote{std::wstring(row.text), row.fatal};
  }
  for (const std::wstring_view size : {L"-Xmx", L"-Xms", L"-Xmn", L"-Xss"}) {
    if (option.starts_with(size) && !IsSize(option.substr(size.size()))) {
      return OptionNote{L"not a size; the JVM refuses it", true};
    }
  }
  if (option == L"-XX:") return OptionNote{L"an option without its name; the JVM refuses it", true};
  if (option.empty()) return OptionNote{L"an empty option; the JVM refuses it", true};
  if (option.find_first_of(L" \t") == 0 || !IsKnownShape(option)) {
    return OptionNote{L"not an option that a JVM knows; it refuses to start", true};
  }
  return std::nullopt;
}

}  // namespace doctor
