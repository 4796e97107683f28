// Hostile texts: a corpus, and a fuzzer that changes what is in it. A seed replays them; a text that found something is
// printed as a line of the corpus, to be added there.
#pragma once

#include <functional>

#include "tests/support/random.h"

namespace qvtest {

using Texts = std::vector<std::string>;

// The texts of a resource of this program ("CLASS_NAMES", "MEMBER_NAMES", "SIGNATURES", "PATHS").
Texts Corpus(const wchar_t* resource);

// The text as a line of the corpus.
std::string AsLine(std::string_view text);

// The whole corpus first, then so many changed texts. No text has a null in it.
class HostileTexts {
 public:
  HostileTexts(const wchar_t* resource, uint64_t seed, size_t fuzzed);

  [[nodiscard]] size_t Count() const { return m_corpus.size() + m_fuzzed; }
  std::string Next();

 private:
  void Change(std::string& text);

  Texts m_corpus;
  Random m_random;
  size_t m_fuzzed;
  size_t m_next = 0;
};

// Every text of a kind once. `once` gives what was wrong with what it saw, or nothing, and says in `accepted` whether
// the text was taken for something. Each text that goes wrong fails the test; the counts are a row of the page.
struct TextKind {
  std::string key;
  const char* name;
  std::string runtime;
  const wchar_t* resource;
  size_t fuzzed;
};
struct TextCounts {
  size_t accepted = 0;
  size_t refused = 0;
  size_t wrong = 0;
};
TextCounts TryTexts(const TextKind& kind, bool& accepted, const std::function<std::string(const std::string&)>& once);

// The text and its null right before a page that cannot be read: who reads on, falls.
class GuardedText {
 public:
  explicit GuardedText(std::string_view text);
  ~GuardedText() { VirtualFree(m_block, 0, MEM_RELEASE); }
  GuardedText(const GuardedText&) = delete;
  GuardedText& operator=(const GuardedText&) = delete;
  operator const char*() const { return m_text; }

 private:
  char* m_block;
  char* m_text;
};

// UTF-16 of UTF-8 in which lone surrogates may stand; bytes that are none become themselves.
std::wstring WideOf(std::string_view text);

}  // namespace qvtest
