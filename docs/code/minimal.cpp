#include <windows.h>
#include <cstdio>
#include "qvjvm/qvjvm.h"

int main() {
  const HMODULE service = LoadLibraryW(L"qvjvm.dll");
  if (service == nullptr) return 1;
  const auto create =
      reinterpret_cast<QV_CreateJavaVMFn>(reinterpret_cast<void*>(GetProcAddress(service, "QV_CreateJavaVM")));
  IQV_JavaVM* vm = nullptr;
  if (create == nullptr || create(&vm, nullptr) < 0) return 1;
  qv_jclass integer = nullptr;
  int32_t largest = 0;
  if (vm->FindClass(&integer, "java/lang/Integer") == QV_S_OK) vm->GetStaticIntField(&largest, integer, "MAX_VALUE");
  std::printf("%d\n", largest);
  vm->Release();
}
