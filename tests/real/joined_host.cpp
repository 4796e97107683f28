// Native programs make their JVM the plain way: jvm.dll by its path, the runtime's bin as DLL folder for what the JVM
// loads by name, a class path of their own, and -Xcheck:jni.
// The JVM prints from any thread.
#include "tests/real/joined_host.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "base/compiler.h"
#include "tests/real/running_vm.h"

namespace qvtest {
namespace {

JavaVM* g_vmOfJavaProgram = nullptr;
std::mutex g_lock;
std::string g_output;

QV_PRINTF(2, 0) jint JNICALL KeepOutput(FILE*, const char* format, va_list arguments) {
  char text[4096];
  const int written = std::vsnprintf(text, sizeof(text), format, arguments);
  const std::lock_guard guard(g_lock);
  g_output += text;
  return written;
}

JavaVM* MakeVm() {
  const std::wstring bin = InstallFolder() + L"\\JRE\\bin";
  SetDllDirectoryW(bin.c_str());
  const HMODULE library = LoadLibraryW((bin + L"\\server\\jvm.dll").c_str());
  using CreateFn = jint(JNICALL*)(JavaVM**, void**, void*);
  const auto create = reinterpret_cast<CreateFn>(reinterpret_cast<void*>(GetProcAddress(library, "JNI_CreateJavaVM")));
  if (create == nullptr) return nullptr;
  std::string classPath = "-Djava.class.path=" + ToUtf8(InstallFolder()) + "\\program.jar";
  std::string check = "-Xcheck:jni";
  std::string hook = "vfprintf";
  JavaVMOption options[] = {
      {classPath.data(), nullptr}, {check.data(), nullptr}, {hook.data(), reinterpret_cast<void*>(&KeepOutput)}};
  JavaVMInitArgs arguments{JNI_VERSION_1_8, 3, options, JNI_FALSE};
  JavaVM* vm = nullptr;
  void* env = nullptr;
  const jint result = create(&vm, &env, &arguments);
  EXPECT_EQ(result, JNI_OK);
  return result == JNI_OK ? vm : nullptr;
}

}  // namespace

HostKind KindOfHost() {
  if (g_vmOfJavaProgram != nullptr) return HostKind::Java;
  std::wstring path(1024, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.ends_with(L"\\qv190.exe") ? HostKind::Known : HostKind::Unknown;
}

JavaVM* HostVm() {
  if (g_vmOfJavaProgram != nullptr) return g_vmOfJavaProgram;
  static JavaVM* const vm = MakeVm();
  return vm;
}

void UseVmOfJavaProgram(JavaVM* vm) { g_vmOfJavaProgram = vm; }

std::string TakeJvmOutput() {
  const std::lock_guard guard(g_lock);
  return std::exchange(g_output, {});
}

}  // namespace qvtest
