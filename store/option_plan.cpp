#include "store/option_plan.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qv {

PropertyTexts::~PropertyTexts() {
  for (int32_t i = 0; i < m_count; ++i) QvshrFree(m_texts[i]);
  QvshrFree(m_texts);
}

HostText PropertyOption(std::wstring_view name, std::wstring_view value) noexcept { return {L"-D", name, L"=", value}; }

HostText ClassPathOption(std::wstring_view threadClassPath, std::wstring_view classPath) noexcept {
  HostText option{L"-Djava.class.path="};
  if (!threadClassPath.empty()) option.Append({threadClassPath, L";"});
  option.Append(classPath);
  return option;
}

namespace {

char* ToOptionString(const wchar_t* text) noexcept {
  const HostPtr<char> converted(QvshrWideToMultiByte(text, CP_ACP));
  if (!converted) return nullptr;
  const size_t bytes = std::strlen(converted.get()) + 1;
  HostArray<char> option = AllocHostArray<char>(bytes);
  if (option) std::copy_n(converted.get(), bytes, option.get());
  return option.release();
}

}  // namespace

OptionArray::~OptionArray() { FreeOptions(m_options, m_filled); }

bool OptionArray::TryAllocate(int32_t count) noexcept {
  m_options = AllocHostArray<JavaVMOption>(static_cast<size_t>(count)).release();
  return m_options != nullptr;
}

bool OptionArray::TryAppend(const wchar_t* text) noexcept {
  char* const option = ToOptionString(text);
  if (option == nullptr) return false;
  m_options[m_filled++].optionString = option;
  return true;
}

bool OptionArray::TryAppendHook(const wchar_t* name, void* hook) noexcept {
  m_options[m_filled].extraInfo = hook;
  return TryAppend(name);
}

JavaVMOption* OptionArray::Release() noexcept {
  m_filled = 0;
  return std::exchange(m_options, nullptr);
}

void FreeOptions(JavaVMOption* options, int32_t count) noexcept {
  if (options == nullptr) return;
  for (int32_t i = 0; i < count; ++i) QvshrFree(options[i].optionString);
  QvshrFree(options);
}

}  // namespace qv
