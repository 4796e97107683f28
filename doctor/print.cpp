#include "doctor/print.h"

#include <windows.h>

#include <algorithm>

#include "doctor/judge.h"
#include "doctor/texts.h"

namespace doctor {

namespace {

constexpr size_t kColumns = 80;

class Page {
 public:
  explicit Page(bool colors) : m_colors(colors) {}

  void Heading(const std::wstring& text) { m_text += L"\n" + Colored(L"1", text) + L"\n"; }
  // A label and a text, which is wrapped below itself.
  void Row(const std::wstring& label, const std::wstring& text) {
    const size_t indent = 16;
    std::wstring line = L"  " + label;
    line.resize(std::max(line.size() + 1, indent), L' ');
    Wrap(line, std::wstring(indent, L' '), text);
  }
  void Item(const std::wstring& mark, const std::wstring& color, const std::wstring& text) {
    Wrap(L"  " + Colored(color, mark) + L" ", std::wstring(3 + mark.size(), L' '), text, 3 + mark.size());
  }
  // Not wrapped: paths and options are there to be copied.
  void Whole(const std::wstring& mark, const std::wstring& color, const std::wstring& text) {
    m_text += L"  " + Colored(color, mark) + L" " + text + L"\n";
  }
  [[nodiscard]] std::wstring Take() { return std::move(m_text); }

 private:
  [[nodiscard]] std::wstring Colored(const std::wstring& color, const std::wstring& text) const {
    return m_colors && !color.empty() ? L"\x1b[" + color + L"m" + text + L"\x1b[0m" : text;
  }
  void Wrap(const std::wstring& first, const std::wstring& next, const std::wstring& text, size_t firstWidth = 0) {
    std::wstring line = first;
    size_t width = firstWidth != 0 ? firstWidth : first.size();
    size_t begin = 0;
    bool empty = true;
    while (begin < text.size()) {
      const size_t end = std::min(text.find(L' ', begin), text.size());
      const std::wstring word = text.substr(begin, end - begin);
      if (!empty && width + 1 + word.size() > kColumns) {
        m_text += line + L"\n";
        line = next;
        width = next.size();
        empty = true;
      }
      if (!empty) {
        line += L' ';
        ++width;
      }
      line += word;
      width += word.size();
      empty = false;
      begin = end + 1;
    }
    m_text += line + L"\n";
  }

  bool m_colors;
  std::wstring m_text;
};

void PrintFindings(Page& page, const Facts& facts) {
  page.Heading(L"Findings");
  if (WorstOf(facts) == Severity::Note) page.Item(L"ok", L"32", L"nothing is wrong that can be seen from here");
  for (const Finding& finding : facts.findings) {
    constexpr const wchar_t* kMarks[] = {L"PROBLEM", L"warning", L"   note"};
    constexpr const wchar_t* kColors[] = {L"31", L"33", L""};
    const auto severity = static_cast<size_t>(finding.severity);
    page.Item(kMarks[severity], kColors[severity], finding.cause);
    page.Item(L"      >", L"", finding.remedy);
  }
}

void PrintProducts(Page& page, const Facts& facts) {
  page.Heading(L"Service");
  for (const ProductLibrary& each : facts.products) {
    const bool sound = each.library.state == FileState::Sound && each.loadError == 0 && each.missingFunctions == 0;
    page.Whole(sound ? L"+" : L"!", sound ? L"32" : L"31",
               each.library.path + L"  " +
                   (each.library.state != FileState::Sound ? L"(" + TextOf(each.library.state, L"a DLL") + L")"
                    : each.version.empty()                 ? L"(no version)"
                                                           : each.version));
  }
  page.Row(L"doctor", OwnVersion());
}

void PrintHost(Page& page, const Facts& facts) {
  page.Heading(L"Host");
  page.Row(L"name", facts.question.host);
  page.Row(L"recognised", TextOf(facts.host.kind) + (facts.question.joined ? L", with a JVM of its own" : L""));
  page.Row(L"settings", L"HKLM\\" + facts.host.registryRoot + (facts.host.rootExists ? L"" : L" (not there)"));
  page.Row(L"service", facts.question.serviceFolder);
  page.Heading(L"Settings");
  if (facts.settingsFile)
    page.Row(L"file", facts.settingsFile->path + (facts.settingsFile->read ? L"" : L" (not read)"));
  for (const Setting& setting : facts.settings) {
    page.Row(TextOf(setting.name),
             (setting.value ? *setting.value : L"(not set)") + L"  [" + OriginOf(setting.name, facts) + L"]");
  }
}

void PrintRuntime(Page& page, const Facts& facts) {
  page.Heading(L"Java runtime");
  if (facts.HostHasJvm()) page.Item(L"-", L"", L"not looked for: the host has its own JVM");
  for (const Candidate& candidate : facts.candidates) {
    page.Whole(candidate.Chosen() ? L"+" : L"-", candidate.Chosen() ? L"32" : L"", candidate.library.path);
    page.Whole(L" ", L"", L"  " + std::wstring(qv::TextOf(candidate.source)) + L": " + VerdictOf(candidate));
  }
  if (facts.runtime) {
    const Library& jvm = facts.runtime->jvm;
    page.Row(L"loaded", jvm.path + (jvm.architecture.empty() ? L"" : L" (" + jvm.architecture + L")"));
    if (!facts.runtime->version.empty()) page.Row(L"version", facts.runtime->version);
  }
  page.Row(L"PATH", facts.path);
}

void PrintClassPath(Page& page, const Facts& facts) {
  page.Heading(L"Class path");
  for (const ClassPathEntry& entry : facts.classPath) {
    const bool sound = entry.state == FileState::Sound;
    const std::wstring fault = entry.Exists() ? L"  (" + TextOf(entry.state, L"a jar") + L")" : L"  (missing)";
    page.Whole(sound            ? L"+"
               : entry.Exists() ? L"!"
                                : L"-",
               sound            ? L"32"
               : entry.Exists() ? L"31"
                                : L"33",
               entry.path + (sound ? L"" : fault));
  }
}

void PrintOptions(Page& page, const Facts& facts) {
  if (facts.options.empty()) return;
  page.Heading(L"Options");
  for (const Option& option : facts.options) {
    const bool classPath = option.text.starts_with(L"-Djava.class.path=");
    page.Whole(option.fatal ? L"!" : L"+", option.fatal ? L"31" : L"",
               classPath ? L"-Djava.class.path=(the class path above)" : option.text);
    page.Whole(L" ", L"", L"  " + OriginOf(option.source, facts) + (option.note.empty() ? L"" : L"; " + option.note));
  }
}

void PrintLog(Page& page, const Facts& facts) {
  page.Heading(L"JVM log");
  page.Row(L"file", facts.log.path);
  page.Row(L"state", facts.log.state == LogState::Writable ? L"can be written" : TextOf(facts.log.state));
}

void PrintStart(Page& page, const Facts& facts) {
  if (!facts.start) return;
  page.Heading(L"Trial start");
  page.Item(facts.start->started ? L"ok" : L"FAILED", facts.start->started ? L"32" : L"31", facts.start->outcome);
  for (const std::wstring& line : facts.start->output) page.Whole(L"|", L"", line);
  if (!facts.start->logTail.empty()) page.Row(L"log, its end", L"");
  for (const std::wstring& line : facts.start->logTail) page.Whole(L"|", L"", line);
}

// The findings may have left the window by now.
void PrintCount(Page& page, const Facts& facts) {
  const auto count = [&](Severity severity) {
    return std::count_if(facts.findings.begin(), facts.findings.end(),
                         [=](const Finding& finding) { return finding.severity == severity; });
  };
  const auto problems = count(Severity::Problem);
  const auto warnings = count(Severity::Warning);
  if (problems + warnings == 0) return;
  page.Heading(std::to_wstring(problems) + (problems == 1 ? L" problem, " : L" problems, ") +
               std::to_wstring(warnings) + (warnings == 1 ? L" warning" : L" warnings") + L"; they stand at the top");
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
  if (text.empty()) return {};
  const auto units = static_cast<int>(text.size());
  std::string bytes(
      static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
  return bytes;
}

std::wstring AsText(const Facts& facts, bool colors) {
  Page page(colors);
  PrintFindings(page, facts);
  PrintProducts(page, facts);
  if (facts.examined) {
    PrintHost(page, facts);
    PrintRuntime(page, facts);
    PrintClassPath(page, facts);
    PrintOptions(page, facts);
    PrintLog(page, facts);
  }
  PrintStart(page, facts);
  PrintCount(page, facts);
  std::wstring text = page.Take();
  return text.substr(1);  // the first heading needs no blank line
}

}  // namespace doctor
