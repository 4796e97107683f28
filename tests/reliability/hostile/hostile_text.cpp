#include "tests/reliability/hostile/hostile_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace qvtest {
namespace {

std::string Decoded(std::string_view line) {
  std::string text;
  const auto byteAt = [&](size_t at) {
    return static_cast<char>(std::stoi(std::string(line.substr(at, 2)), nullptr, 16));
  };
  for (size_t at = 0; at < line.size(); ++at) {
    if (line[at] != '\\' || at + 1 == line.size()) {
      text += line[at];
    } else if (line[at + 1] == 'x') {
      text += byteAt(at + 2);
      at += 3;
    } else if (line[at + 1] == 'r') {  // \r{count:41 42}
      const size_t colon = line.find(':', at);
      const size_t end = line.find('}', at);
      const auto count = std::stoul(std::string(line.substr(at + 3, colon - at - 3)));
      std::string bytes;
      for (size_t byte = colon + 1; byte < end; byte += 3) bytes += byteAt(byte);
      for (size_t i = 0; i < count; ++i) text += bytes;
      at = end;
    } else {
      text += line[++at];
    }
  }
  return text;
}

}  // namespace

Texts Corpus(const wchar_t* resource) {
  const HRSRC found = FindResourceW(nullptr, resource, MAKEINTRESOURCEW(10));
  const HGLOBAL loaded = found != nullptr ? LoadResource(nullptr, found) : nullptr;
  EXPECT_NE(loaded, nullptr);
  if (loaded == nullptr) return {};
  std::string_view rest(static_cast<const char*>(LockResource(loaded)), SizeofResource(nullptr, found));
  Texts texts;
  while (!rest.empty()) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!line.starts_with('#')) texts.push_back(Decoded(line));
  }
  return texts;
}

std::string AsLine(std::string_view text) {
  std::string line;
  for (size_t at = 0; at < text.size();) {
    const size_t run = std::min(text.find_first_not_of(text[at], at), text.size()) - at;
    char escape[40] = {text[at]};
    const auto byte = static_cast<unsigned>(static_cast<unsigned char>(text[at]));
    if (run > 12) {
      std::snprintf(escape, sizeof(escape), "\\r{%zu:%02X}", run, byte);
    } else if (text[at] == '\\' || byte < 0x20 || byte > 0x7E || (at == 0 && text[at] == '#')) {
      std::snprintf(escape, sizeof(escape), "\\x%02X", byte);
    }
    line += escape;
    at += run > 12 ? run : 1;
  }
  return line.size() > 3000 ? line.substr(0, 3000) + " and so on" : line;
}

HostileTexts::HostileTexts(const wchar_t* resource, uint64_t seed, size_t fuzzed)
    : m_corpus(Corpus(resource)), m_random(seed), m_fuzzed(fuzzed) {}

std::string HostileTexts::Next() {
  if (m_next < m_corpus.size()) return m_corpus[m_next++];
  std::string text = m_random.OneOf(m_corpus);
  // Very long ones are slow; one in a while is enough.
  if (text.size() > 2000 && !m_random.OneIn(200)) text.resize(m_random.Below(600));
  for (uint32_t changes = 1 + m_random.Below(4); changes > 0; --changes) Change(text);
  text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
  return text;
}

void HostileTexts::Change(std::string& text) {
  static constexpr std::string_view kPieces[] = {
      "(",   ")", ";", "[", "L", "/", ".", "\"", "%n", "$", "I", "V", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
      "\xFF"};
  const size_t at = m_random.Below(text.size() + 1);
  switch (m_random.Below(7)) {
    case 0:
      if (at < text.size()) text[at] = static_cast<char>(m_random.Next());
      return;
    case 1:
      if (at < text.size())
        text[at] = static_cast<char>(static_cast<unsigned char>(text[at]) ^ (1U << m_random.Below(8)));
      return;
    case 2:
      text.insert(at, m_random.OneOf(kPieces));
      return;
    case 3:
      text.erase(at, 1 + m_random.Below(4));
      return;
    case 4: {
      const std::string& other = m_random.OneOf(m_corpus);
      text.insert(at, other.substr(0, std::min<size_t>(other.size(), 40)));
      return;
    }
    case 5:
      text.resize(at);
      return;
    default:
      text.insert(at, std::string(1 + m_random.Below(600), static_cast<char>(m_random.Next())));
  }
}

TextCounts TryTexts(const TextKind& kind, bool& accepted, const std::function<std::string(const std::string&)>& once) {
  const uint64_t seed = SeedOfThisRun();
  HostileTexts texts(kind.resource, Mixed(seed, static_cast<uint64_t>(kind.key[0])), kind.fuzzed);
  TextCounts counts;
  for (size_t i = 0; i < texts.Count(); ++i) {
    const std::string text = texts.Next();
    accepted = false;
    const std::string trouble = once(text);
    ++(!trouble.empty() ? counts.wrong : accepted ? counts.accepted : counts.refused);
    if (!trouble.empty() && counts.wrong <= 10) {
      ADD_FAILURE() << "seed " << seed << ", text " << i << ", " << AsLine(text) << ": " << trouble;
    }
  }
  EXPECT_EQ(counts.wrong, 0U);
  RecordRow("hostile-text", kind.key + "/" + kind.runtime,
            {kind.name, kind.runtime, texts.Count(), counts.accepted, counts.refused, counts.wrong});
  return counts;
}

GuardedText::GuardedText(std::string_view text) {
  SYSTEM_INFO system{};
  GetSystemInfo(&system);
  const size_t page = system.dwPageSize;
  const size_t pages = (text.size() + 1 + page - 1) / page;
  m_block = static_cast<char*>(VirtualAlloc(nullptr, (pages + 1) * page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  DWORD before = 0;
  VirtualProtect(m_block + pages * page, page, PAGE_NOACCESS, &before);
  m_text = m_block + pages * page - text.size() - 1;
  std::memcpy(m_text, text.data(), text.size());
  m_text[text.size()] = '\0';
}

std::wstring WideOf(std::string_view text) {
  std::wstring wide;
  const auto unit = [&](size_t at) { return static_cast<unsigned>(static_cast<unsigned char>(text[at])); };
  for (size_t at = 0; at < text.size(); ++at) {
    const bool three = (unit(at) & 0xF0U) == 0xE0 && at + 2 < text.size();
    const bool two = (unit(at) & 0xE0U) == 0xC0 && at + 1 < text.size();
    if (three) {
      wide += static_cast<wchar_t>((unit(at) & 0xFU) << 12U | (unit(at + 1) & 0x3FU) << 6U | (unit(at + 2) & 0x3FU));
      at += 2;
    } else if (two) {
      wide += static_cast<wchar_t>((unit(at) & 0x1FU) << 6U | (unit(at + 1) & 0x3FU));
      at += 1;
    } else {
      wide += static_cast<wchar_t>(unit(at));
    }
  }
  wide.erase(std::remove(wide.begin(), wide.end(), L'\0'), wide.end());
  return wide;
}

}  // namespace qvtest
