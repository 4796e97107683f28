// Java strings to and from the host's wide text. wchar_t is a UTF-16 unit, as jchar is.
#include <algorithm>
#include <cwchar>
#include <iterator>
#include <limits>

#include "bridge/java_call.h"

using qv::As;

static_assert(sizeof(wchar_t) == sizeof(jchar));

namespace {

// JNI's characters need not end in a null, and the host library's text must: they are copied and ended here. A short
// text needs no block for that.
int32_t MakeHostString(const wchar_t* characters, size_t length, IQvString** text) noexcept {
  wchar_t onStack[256];
  qv::HostArray<wchar_t> block;
  wchar_t* copy = onStack;
  if (length >= std::size(onStack)) {
    block = qv::AllocHostArray<wchar_t>(length + 1);
    if (!block) return E_OUTOFMEMORY;
    copy = block.get();
  }
  *std::copy_n(characters, length, copy) = L'\0';
  return QvshrCreateString(copy, text);
}

}  // namespace

int32_t CQV_JNIVMManager::NewString(qv_jstring* out, const wchar_t* text) noexcept {
  if (out == nullptr) return E_FAIL;
  *out = nullptr;
  JNIEnv* const env = Env();
  if (env == nullptr || text == nullptr) return E_FAIL;
  const size_t length = std::wcslen(text);
  if (length > static_cast<size_t>(std::numeric_limits<jsize>::max())) return E_FAIL;
  *out = env->NewString(reinterpret_cast<const jchar*>(text), static_cast<jsize>(length));
  return *out != nullptr ? S_OK : E_FAIL;
}

int32_t CQV_JNIVMManager::GetStringLength(int32_t* length, qv_jstring string) noexcept {
  if (length == nullptr) return E_FAIL;
  *length = 0;
  JNIEnv* const env = Env();
  if (env == nullptr || string == nullptr) return E_FAIL;
  *length = env->GetStringLength(As<jstring>(string));
  return S_OK;
}

int32_t CQV_JNIVMManager::GetStringChars(wchar_t* buffer, int32_t*, qv_jstring string) noexcept {
  // Deliberate: the size is not consulted; the caller's buffer holds the whole string and its null.
  if (buffer == nullptr) return E_FAIL;
  buffer[0] = L'\0';
  JNIEnv* const env = Env();
  int32_t length = 0;
  if (env == nullptr || GetStringLength(&length, string) < 0) return E_FAIL;
  int32_t status = E_FAIL;
  const jchar* const characters = env->GetStringChars(As<jstring>(string), nullptr);
  if (characters != nullptr) {
    std::copy_n(reinterpret_cast<const wchar_t*>(characters), length, buffer);
    buffer[length] = L'\0';
    status = S_OK;
  }
  env->ReleaseStringChars(As<jstring>(string), characters);
  return status;
}

int32_t CQV_JNIVMManager::GetStringValue(IQvString** text, qv_jstring string) noexcept {
  if (text == nullptr) return E_FAIL;
  *text = nullptr;
  JNIEnv* const env = Env();
  if (env == nullptr || string == nullptr) return E_FAIL;
  const auto length = static_cast<size_t>(std::max(env->GetStringLength(As<jstring>(string)), jsize{0}));
  const jchar* const characters = env->GetStringChars(As<jstring>(string), nullptr);
  const int32_t status =
      characters != nullptr ? MakeHostString(reinterpret_cast<const wchar_t*>(characters), length, text) : E_FAIL;
  env->ReleaseStringChars(As<jstring>(string), characters);
  return status;
}
