// The JVM's start-up options as one array: which text stands at which index, and what happens when one is missing.
// Texts come in as values and a callable; the registry is somebody else's.
#pragma once

#include <jni.h>

#include <limits>
#include <span>
#include <string_view>

#include "host/host_memory.h"
#include "host/host_text.h"

namespace qv {

// "-Dname=value" texts, each one host block; entries and list are freed with this object.
class PropertyTexts {
 public:
  PropertyTexts() noexcept = default;
  PropertyTexts(wchar_t** adopted, int32_t count) noexcept : m_texts(adopted), m_count(count) {}
  PropertyTexts(const PropertyTexts&) = delete;
  PropertyTexts& operator=(const PropertyTexts&) = delete;
  ~PropertyTexts();

  [[nodiscard]] int32_t Count() const noexcept { return m_count; }
  [[nodiscard]] const wchar_t* At(int32_t index) const noexcept { return m_texts[index]; }

 private:
  wchar_t** m_texts = nullptr;
  int32_t m_count = 0;
};

// One property as the JVM takes it.
HostText PropertyOption(std::wstring_view name, std::wstring_view value) noexcept;

// Everything the fixed entries depend on.
struct OptionSources {
  std::wstring_view threadClassPath{};  // stands before `classPath`; empty for none
  std::wstring_view classPath{};
  std::wstring_view bootClassPathOption{};
  void* vfprintfHook = nullptr;
  void* exitHook = nullptr;
  int32_t configuredCount = 0;  // as Count claims, never negative
  const PropertyTexts* properties = nullptr;
};

inline constexpr int32_t kFixedOptions = 4;

enum class OptionSource { Service, OptionList, Properties };

// Whose option stands at an index, when `configured` of them stand in the list.
constexpr OptionSource SourceOfOption(int32_t index, int32_t configured) noexcept {
  if (index < kFixedOptions) return OptionSource::Service;
  return index - kFixedOptions < configured ? OptionSource::OptionList : OptionSource::Properties;
}

// An array of options in host blocks, filled from its beginning; frees all of it unless released. What is not filled is
// never touched: a Count is a stranger's claim, and an array for 2^31 options costs no page until it has entries.
class OptionArray {
 public:
  OptionArray() noexcept = default;
  OptionArray(const OptionArray&) = delete;
  OptionArray& operator=(const OptionArray&) = delete;
  ~OptionArray();

  // Room for that many options. False without memory.
  [[nodiscard]] bool TryAllocate(int32_t count) noexcept;
  // Converts the text to the ANSI code page. False without memory or when it cannot be converted.
  [[nodiscard]] bool TryAppend(const wchar_t* text) noexcept;
  [[nodiscard]] bool TryAppendHook(const wchar_t* name, void* hook) noexcept;
  [[nodiscard]] JavaVMOption* Release() noexcept;

 private:
  JavaVMOption* m_options = nullptr;
  int32_t m_filled = 0;
};

// Frees what a released OptionArray handed out: every text in index order, then the array. Null is allowed.
void FreeOptions(JavaVMOption* options, int32_t count) noexcept;

// The number of options, or -1 when it does not fit.
constexpr int32_t OptionCount(int32_t configured, int32_t properties) noexcept {
  const int64_t count = int64_t{kFixedOptions} + configured + properties;
  return count <= std::numeric_limits<int32_t>::max() ? static_cast<int32_t>(count) : -1;
}

// "-Djava.class.path=" and the class path, a thread's own before the system's.
HostText ClassPathOption(std::wstring_view threadClassPath, std::wstring_view classPath) noexcept;

// Fills *options with the class path, the boot class path, the two hooks, the configured options and the properties.
// readConfigured(index, StringRef&) gives true when the entry is there; the first missing one ends the fill.
// True: *options and *count are the caller's. False: *options is null; *count was set if the array could be had.
template <class ReadConfigured>
bool BuildOptionArray(const OptionSources& sources, ReadConfigured&& readConfigured, JavaVMOption** options,
                      int32_t* count) noexcept {
  const int32_t properties = sources.properties != nullptr ? sources.properties->Count() : 0;
  const int32_t total = OptionCount(sources.configuredCount, properties);
  OptionArray array;
  if (total < 0 || !array.TryAllocate(total)) return false;
  *count = total;
  const HostText classPath = ClassPathOption(sources.threadClassPath, sources.classPath);
  const HostText bootClassPath{sources.bootClassPathOption};
  bool complete = classPath.Ok() && bootClassPath.Ok() && array.TryAppend(classPath.Text()) &&
                  array.TryAppend(bootClassPath.Text()) && array.TryAppendHook(L"vfprintf", sources.vfprintfHook) &&
                  array.TryAppendHook(L"exit", sources.exitHook);
  for (int32_t i = 0; complete && i < sources.configuredCount; ++i) {
    StringRef text;
    complete = readConfigured(i, text) && array.TryAppend(text ? text->GetText() : L"");
  }
  for (int32_t j = 0; complete && j < properties; ++j) {
    complete = array.TryAppend(sources.properties->At(j));
  }
  if (complete) *options = array.Release();
  return complete;
}

}  // namespace qv
