// Copies of the record. The DLL's own state is read while nothing else runs in it.
#include "tests/fakejvm/fake_jvm_user.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

#include "base/procedure.h"
#include "tests/support/temp_folder.h"
#include "tests/support/text.h"

namespace qvtest {

FakeJvm::FakeJvm(const std::wstring& path) : m_module(LoadLibraryW(path.c_str())) {
  EXPECT_NE(m_module, nullptr) << "cannot load " << ToUtf8(path) << ": error " << GetLastError();
  Connect();
  Reset();
}

FakeJvm::FakeJvm(Loaded) {
  GetModuleHandleExW(0, L"jvm.dll", &m_module);
  EXPECT_NE(m_module, nullptr) << "no jvm.dll is loaded";
  Connect();
}

FakeJvm::~FakeJvm() {
  if (m_module != nullptr) FreeLibrary(m_module);
}

void FakeJvm::Connect() {
  m_getState = qv::FindProcedure<FakeJvmGetStateFn>(m_module, "FakeJvmGetState");
  if (m_getState == nullptr) throw std::logic_error("this jvm.dll is not the fake one");
  m_state = m_getState(0);
}

std::vector<FakeJvmCall> FakeJvm::Calls() const {
  EXPECT_EQ(m_state->callsLost, 0) << "more calls than the record holds";
  return {m_state->calls, m_state->calls + m_state->callCount};
}

std::vector<FakeJvmCall> FakeJvm::Calls(FakeJvmEntry entry) const {
  std::vector<FakeJvmCall> calls = Calls();
  std::erase_if(calls, [&](const FakeJvmCall& call) { return call.entry != entry; });
  return calls;
}

std::vector<std::string> FakeJvm::Story() const {
  std::vector<std::string> story;
  for (const FakeJvmCall& call : Calls()) story.emplace_back(kFakeEntryNames[call.entry]);
  return story;
}

std::vector<SeenOption> FakeJvm::Options(size_t creation) const {
  const std::vector<FakeJvmCall> creations = Calls(kFakeCreateVM);
  std::vector<SeenOption> options;
  if (creation >= creations.size()) {
    ADD_FAILURE() << "there were " << creations.size() << " creations";
    return options;
  }
  for (int32_t i = 0; i < creations[creation].optionCount; ++i) {
    options.push_back({creations[creation].options[i].text, creations[creation].options[i].extraInfo});
  }
  return options;
}

std::vector<std::string> FakeJvm::OptionTexts(size_t creation) const {
  std::vector<std::string> texts;
  for (const SeenOption& option : Options(creation)) texts.push_back(option.text);
  return texts;
}

int32_t FakeJvm::Print(const char* format, ...) const {
  using VfprintfHook = int32_t (*)(FILE*, const char*, va_list);
  void* hook = nullptr;
  for (const SeenOption& option : Options(Count(kFakeCreateVM) - 1)) {
    if (option.text == "vfprintf") hook = option.extraInfo;
  }
  va_list arguments;
  va_start(arguments, format);
  const int32_t written = reinterpret_cast<VfprintfHook>(hook)(nullptr, format, arguments);
  va_end(arguments);
  return written;
}

std::wstring FakeJvm::Home() { return ProgramFolder() + L"\\fakejvm"; }

std::wstring FakeJvm::PathWithout(const std::wstring& entryPoint) {
  return Home() + L"\\without\\" + entryPoint + L"\\jvm.dll";
}

}  // namespace qvtest
