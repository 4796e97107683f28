// The facts as one page that needs nothing else: no network, no file beside it.
#include <algorithm>
#include <cstdio>

#include "doctor/judge.h"
#include "doctor/print.h"
#include "doctor/texts.h"

namespace doctor {

namespace {

constexpr const char* kHead = R"html(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Java VM Service: report</title>
<style>
:root {
  color-scheme: light dark;
  --page: #f5f6f8; --card: #fff; --text: #1c2430; --dim: #5b6675; --line: #dde2e9;
  --problem: #c62a2f; --problem-back: #fdecec; --warning: #9a5b00; --warning-back: #fff4dd;
  --note: #35608f; --note-back: #eaf2fb; --ok: #1c7a3f; --ok-back: #e6f5eb;
}
@media (prefers-color-scheme: dark) {
  :root {
    --page: #14181e; --card: #1d232c; --text: #e4e9f0; --dim: #98a4b3; --line: #323b47;
    --problem: #ff8086; --problem-back: #3d1f23; --warning: #f2b655; --warning-back: #3a2d14;
    --note: #86b6ea; --note-back: #1c2d40; --ok: #6fd394; --ok-back: #17321f;
  }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--page); color: var(--text); font: 15px/1.5 "Segoe UI", system-ui, sans-serif; }
main { max-width: 64rem; margin: 0 auto; padding: 1.5rem 1rem 4rem; }
h1 { font-size: 1.1rem; font-weight: 600; margin: 0; color: var(--dim); }
h2 { font-size: 1rem; margin: 0; display: inline; }
.verdict { font-size: 1.7rem; font-weight: 600; margin: .1rem 0 .2rem; }
.facts { color: var(--dim); margin: 0 0 1.2rem; }
input { width: 100%; padding: .6rem .8rem; font: inherit; color: inherit; background: var(--card); border: 1px solid var(--line);
  border-radius: .5rem; margin-bottom: 1rem; }
input:focus-visible, summary:focus-visible { outline: 2px solid var(--note); outline-offset: 2px; }
.finding { border-left: .3rem solid; border-radius: .4rem; padding: .7rem 1rem; margin-bottom: .6rem; }
.finding p { margin: .15rem 0 0; color: var(--text); }
.finding .kind { font-size: .8rem; font-weight: 600; }
.finding code { color: var(--dim); font-weight: 400; }
.finding .cause { font-weight: 600; }
.problem { color: var(--problem); } .warning { color: var(--warning); } .note { color: var(--note); } .ok { color: var(--ok); }
.finding.problem { background: var(--problem-back); } .finding.warning { background: var(--warning-back); }
.finding.note { background: var(--note-back); } .finding.ok { background: var(--ok-back); }
details { background: var(--card); border: 1px solid var(--line); border-radius: .5rem; margin-top: .8rem; padding: .6rem 1rem; }
summary { cursor: pointer; }
summary span { color: var(--dim); margin-left: .4rem; }
table { width: 100%; border-collapse: collapse; margin-top: .6rem; table-layout: fixed; }
td { padding: .35rem .5rem .35rem 0; border-top: 1px solid var(--line); vertical-align: top; overflow-wrap: anywhere; }
td:first-child { width: 38%; } td.wide { width: 64%; }
.from { color: var(--dim); font-size: .9em; }
code, pre { font: .87em/1.45 Consolas, "DejaVu Sans Mono", monospace; }
pre { white-space: pre-wrap; overflow-wrap: anywhere; margin: .6rem 0 0; }
svg { width: 100%; height: auto; margin-top: .6rem; display: block; }
svg text { fill: var(--text); font: 13px "Segoe UI", system-ui, sans-serif; } svg .dim { fill: var(--dim); }
svg rect { fill: var(--note); } svg line { stroke: var(--line); }
[hidden] { display: none; }
</style>
</head>
<body>
<main>
)html";

constexpr const char* kEnd = R"html(</main>
<script>
const box = document.querySelector("input");
const rows = [...document.querySelectorAll(".finding, tr")];
const parts = [...document.querySelectorAll("details")];
const open = parts.map(part => part.open);
box.addEventListener("input", () => {
  const words = box.value.toLowerCase().split(/\s+/).filter(word => word);
  for (const row of rows) {
    const text = row.textContent.toLowerCase();
    row.hidden = !words.every(word => text.includes(word));
  }
  parts.forEach((part, i) => {
    const found = part.querySelector("tr:not([hidden])");
    part.hidden = words.length > 0 && !found;
    part.open = words.length > 0 ? !!found : open[i];
  });
});
</script>
</body>
</html>
)html";

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char unit : text) {
    switch (unit) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += unit;
        break;
    }
  }
  return escaped;
}
std::string Escaped(const std::wstring& text) { return Escaped(ToUtf8(text)); }

class Html {
 public:
  Html() : m_text(kHead) {}

  void Raw(const std::string& html) { m_text += html; }
  void Begin(const char* title, const std::string& about, bool open) {
    m_text += std::string("<details") + (open ? " open" : "") + "><summary><h2>" + title + "</h2><span>" +
              Escaped(about) + "</span></summary>\n<table>\n";
  }
  void Row(const std::wstring& name, const std::wstring& value, const std::wstring& from = {}) {
    m_text += "<tr><td>" + Escaped(name) + "</td><td><code>" + Escaped(value) + "</code>" +
              (from.empty() ? "" : " <span class=\"from\">" + Escaped(from) + "</span>") + "</td></tr>\n";
  }
  // A path or an option, and what is to be said about it in a colour.
  void Mark(const std::wstring& what, const char* kind, const std::wstring& about) {
    m_text += "<tr><td class=\"wide\"><code>" + Escaped(what) + "</code></td><td class=\"" + kind + "\">" +
              Escaped(about) + "</td></tr>\n";
  }
  void End() { m_text += "</table></details>\n"; }
  [[nodiscard]] std::string Take() { return std::move(m_text) + kEnd; }

 private:
  std::string m_text;
};

void WriteFindings(Html& page, const Facts& facts) {
  constexpr const char* kKinds[] = {"Problem", "Warning", "Note"};
  constexpr const char* kVerdicts[] = {"Something is wrong", "There is a warning", "Nothing is wrong"};
  const auto worst = static_cast<size_t>(WorstOf(facts));
  page.Raw("<h1>Java VM Service, report of the doctor</h1>\n<p class=\"verdict " +
           std::string(worst == 2 ? "ok" : NameOf(WorstOf(facts))) + "\">" + kVerdicts[worst] +
           "</p>\n<p class=\"facts\">" + Escaped(facts.question.host) + " · " + Escaped(facts.time) + " · Windows " +
           Escaped(facts.windows) + " · doctor " + Escaped(OwnVersion()) +
           "</p>\n<input type=\"search\" aria-label=\"Search\" placeholder=\"Search: a path, an option, a key\">\n");
  for (const Finding& finding : facts.findings) {
    page.Raw(std::string("<div class=\"finding ") + NameOf(finding.severity) + "\"><div class=\"kind\">" +
             kKinds[static_cast<size_t>(finding.severity)] + " <code>" + NameOf(finding.id) +
             "</code></div><p class=\"cause\" style=\"overflow-wrap:anywhere\">" + Escaped(finding.cause) +
             "</p><p style=\"overflow-wrap:anywhere\">" + Escaped(finding.remedy) + "</p></div>\n");
  }
  if (facts.findings.empty()) {
    page.Raw("<div class=\"finding ok\"><p class=\"cause\">Nothing is wrong that can be seen from here.</p></div>\n");
  }
}

// A bar for each step, one below the other.
std::string TimeLine(const std::vector<StartStep>& steps) {
  constexpr int kRow = 30;
  constexpr int kNames = 210;
  constexpr int kWidth = 560;
  const uint64_t whole = std::max<uint64_t>(1, steps.back().endMs);
  const int height = static_cast<int>(steps.size()) * kRow + 24;
  std::string svg = "<svg viewBox=\"0 0 860 " + std::to_string(height) + "\" role=\"img\" aria-label=\"Time line\">\n";
  char line[256];
  for (int part = 0; part <= 4; ++part) {
    const int x = kNames + kWidth * part / 4;
    std::snprintf(
        line, sizeof(line),
        "<line x1=\"%d\" y1=\"0\" x2=\"%d\" y2=\"%d\"/><text class=\"dim\" x=\"%d\" y=\"%d\">%llu ms</text>\n", x, x,
        height - 20, x, height - 5, static_cast<unsigned long long>(whole) * static_cast<unsigned>(part) / 4);
    svg += line;
  }
  int y = 0;
  for (const StartStep& step : steps) {
    const auto at = [&](uint64_t ms) {
      return kNames + static_cast<double>(kWidth) * static_cast<double>(ms) / static_cast<double>(whole);
    };
    const double width = std::max(2.0, at(step.endMs) - at(step.beginMs));
    std::snprintf(line, sizeof(line), "<rect x=\"%.1f\" y=\"%d\" width=\"%.1f\" height=\"16\" rx=\"3\"/>\n",
                  at(step.beginMs), y + 6, width);
    svg += line;
    svg += "<text x=\"0\" y=\"" + std::to_string(y + 19) + "\">" + Escaped(step.name) + "</text>\n";
    std::snprintf(line, sizeof(line), "<text class=\"dim\" x=\"%d\" y=\"%d\">%llu ms</text>\n", kNames + kWidth + 20,
                  y + 19, static_cast<unsigned long long>(step.endMs - step.beginMs));
    svg += line;
    y += kRow;
  }
  return svg + "</svg>\n";
}

void WriteStart(Html& page, const StartResult& start) {
  page.Raw(std::string("<details open><summary><h2>Trial start</h2><span class=\"") +
           (start.started ? "ok" : "problem") + "\">" + Escaped(start.outcome) + "</span></summary>\n");
  if (!start.steps.empty()) page.Raw(TimeLine(start.steps));
  page.Raw("<table>\n");
  for (const std::wstring& line : start.output) page.Mark(line, "from", L"output");
  for (const std::wstring& line : start.logTail) page.Mark(line, "from", L"log");
  page.End();
}

void WriteRuntime(Html& page, const Facts& facts) {
  page.Begin("Java runtime", facts.runtime ? ToUtf8(facts.runtime->version) : "", true);
  for (const Candidate& candidate : facts.candidates) {
    page.Mark(candidate.library.path, candidate.Chosen() ? "ok" : "from",
              std::wstring(qv::TextOf(candidate.source)) + L": " + VerdictOf(candidate));
  }
  if (facts.runtime) {
    page.Mark(facts.runtime->jvm.path, "from", L"loaded, " + facts.runtime->jvm.architecture);
    for (const RuntimePart& part : facts.runtime->parts) {
      page.Mark(part.path,
                part.state == FileState::Sound ? "ok"
                : part.needed                  ? "problem"
                                               : "warning",
                part.state == FileState::Sound ? L"sound" : TextOf(part.state, KindOf(part.path)));
    }
  }
  page.Mark(facts.path, "from", L"PATH");
  page.End();
}

}  // namespace

std::string AsHtml(const Facts& facts) {
  Html page;
  WriteFindings(page, facts);
  if (facts.start) WriteStart(page, *facts.start);
  page.Begin("Service", ToUtf8(facts.question.serviceFolder), true);
  for (const ProductLibrary& each : facts.products) {
    const bool sound = each.library.state == FileState::Sound;
    page.Mark(each.library.path, sound ? "ok" : "problem",
              sound ? L"version " + each.version : TextOf(each.library.state, L"a DLL"));
  }
  page.End();
  page.Begin("Host", ToUtf8(facts.question.host), true);
  page.Row(L"program", facts.question.hostFolder + L"\\" + facts.question.host, TextOf(facts.host.kind));
  if (facts.examined) {
    page.Row(L"settings", L"HKLM\\" + facts.host.registryRoot, facts.host.rootExists ? L"" : L"not there");
    page.Row(L"log", facts.log.path, TextOf(facts.log.state));
  }
  page.End();
  if (!facts.examined) return page.Take();
  page.Begin("Settings", "", true);
  if (facts.settingsFile) page.Row(L"file", facts.settingsFile->path, facts.settingsFile->read ? L"" : L"not read");
  for (const Setting& setting : facts.settings) {
    page.Row(TextOf(setting.name), setting.value ? *setting.value : L"(not set)", OriginOf(setting.name, facts));
  }
  page.End();
  WriteRuntime(page, facts);
  page.Begin("Class path", std::to_string(facts.classPath.size()) + " entries", true);
  for (const ClassPathEntry& entry : facts.classPath) {
    const char* const kind = entry.state == FileState::Sound ? "ok" : entry.Exists() ? "problem" : "warning";
    page.Mark(entry.path, kind, entry.state == FileState::Sound ? L"sound" : TextOf(entry.state, L"a jar"));
  }
  page.End();
  page.Begin("Options", std::to_string(facts.options.size()), true);
  for (const Option& option : facts.options) {
    page.Mark(option.text,
              option.fatal          ? "problem"
              : option.note.empty() ? "from"
                                    : "warning",
              OriginOf(option.source, facts) + (option.note.empty() ? L"" : L"; " + option.note));
  }
  page.End();
  return page.Take();
}

}  // namespace doctor
