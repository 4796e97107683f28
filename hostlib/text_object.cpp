// String objects and the conversion to narrow text. An object and its text are one block, and nothing but the reference
// count changes after creation.
#include "hostlib/text_object.h"

#include <windows.h>

#include <new>

#include "host/qvshr.h"
#include "hostlib/backend.h"
#include "hostlib/host_object.h"
#include "hostlib/wide_text.h"

namespace qvshr {
namespace {

class TextObject final : public HostObject<TextObject, IQvString, ObjectKind::Text> {
 public:
  explicit TextObject(size_t length) noexcept : m_length(static_cast<int32_t>(length)) {}

  wchar_t* Units() noexcept { return reinterpret_cast<wchar_t*>(this + 1); }

  int32_t Reserved4() noexcept override { return QV_E_NOTIMPL; }
  const wchar_t* GetText() noexcept override {
    CallFails(kQvshrCallGetText);
    return Units();
  }
  int32_t GetLength() noexcept override {
    CallFails(kQvshrCallGetLength);
    return m_length + 1;
  }
  int32_t Reserved7() noexcept override { return QV_E_NOTIMPL; }
  int32_t Concat(IQvString* right, IQvString** joined) noexcept override {
    if (joined == nullptr) return E_POINTER;
    *joined = nullptr;
    if (CallFails(kQvshrCallConcat)) return QV_E_FAIL;
    if (right == nullptr) return QV_E_INVALIDARG;
    return CreateText({Units(), static_cast<size_t>(m_length)}, TextOf(right), QVSHR_CALLER, joined);
  }

 private:
  friend HostObject;
  ~TextObject() = default;

  const int32_t m_length;  // without the terminator
};

static_assert(sizeof(TextObject) % alignof(wchar_t) == 0);

}  // namespace

int32_t CreateText(std::wstring_view left, std::wstring_view right, const void* caller, IQvString** out) noexcept {
  *out = nullptr;
  if (left.size() > kMaxTextUnits || right.size() > kMaxTextUnits - left.size()) return QV_E_OUTOFMEMORY;
  const size_t length = left.size() + right.size();
  void* const block = AllocateBlock(sizeof(TextObject) + (length + 1) * sizeof(wchar_t), caller);
  if (block == nullptr) return QV_E_OUTOFMEMORY;
  TextObject* const object = new (block) TextObject(length);
  wchar_t* const units = object->Units();
  std::char_traits<wchar_t>::copy(units, left.data(), left.size());
  std::char_traits<wchar_t>::copy(units + left.size(), right.data(), right.size());
  units[length] = L'\0';
  *out = object;
  return QV_S_OK;
}

}  // namespace qvshr

using namespace qvshr;

extern "C" int32_t QvshrCreateString(const wchar_t* text, IQvString** out) noexcept {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (CallFails(kQvshrCallCreateString)) return QV_E_FAIL;
  return CreateText(text != nullptr ? text : L"", {}, QVSHR_CALLER, out);
}

extern "C" char* QvshrWideToMultiByte(const wchar_t* text, uint32_t codePage) noexcept {
  if (CallFails(kQvshrCallWideToMultiByte) || text == nullptr) return nullptr;
  const size_t length = std::char_traits<wchar_t>::length(text);
  if (length > kMaxTextUnits) return nullptr;
  const int units = static_cast<int>(length + 1);  // the terminator is converted with the text
  const int bytes = WideCharToMultiByte(codePage, 0, text, units, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return nullptr;
  char* const block = static_cast<char*>(AllocateBlock(static_cast<size_t>(bytes), QVSHR_CALLER));
  if (block == nullptr) return nullptr;
  if (WideCharToMultiByte(codePage, 0, text, units, block, bytes, nullptr, nullptr) != bytes) {
    FreeBlock(block, QVSHR_CALLER);
    return nullptr;
  }
  return block;
}
