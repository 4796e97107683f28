// What it does is done at process end alone: a FreeLibrary finds it with nothing to do.
#include "tests/reliability/ends/end_library.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>

namespace {

DetachWork g_work = kDetachNothing;
IQV_JavaVM* g_vm = nullptr;
unsigned g_exitCode = 0;

// Not through the C runtime, whose streams may be locked for ever by a thread that is gone.
void Print(const char* line) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line, static_cast<DWORD>(std::strlen(line)), &written, nullptr);
}

void Expect(bool right, const char* what) {
  if (!right) Print(what);
}

void Release() {
  IQvString* text = nullptr;
  Expect(g_vm->AddRef() == 2, "AddRef counted wrong\n");
  Expect(g_vm->Release() == 1, "Release counted wrong\n");
  Expect(g_vm->GetErrorText(&text) == QV_E_FAIL && text == nullptr, "an error text out of nothing\n");
  Expect(g_vm->Release() == 0, "the last Release counted wrong\n");
}

void UseAndRelease() {
  auto* cls = reinterpret_cast<qv_jclass>(&g_vm);
  Expect(g_vm->FindClass(&cls, "java/lang/Object") < 0 && cls == nullptr, "Java answered a service that is gone\n");
  Expect(g_vm->Release() == 0, "the last Release counted wrong\n");
}

// There may be no memory for the text: a thread that was ended in the middle of the heap may have kept it.
void ReadText() {
  IQvString* text = nullptr;
  int32_t code = 0;
  Expect(g_vm->GetErrorCode(&code) == QV_S_OK && code == QV_CODE_CALL_FAILED, "no error code\n");
  Expect((g_vm->GetErrorText(&text) == QV_S_OK) == (text != nullptr), "neither a text nor a failure\n");
  if (text != nullptr) text->Release();
  Expect(g_vm->Release() == 0, "the last Release counted wrong\n");
}

void Detach() {
  switch (g_work) {
    case kDetachExitProcess:
      Print("detached\n");
      ExitProcess(g_exitCode);
    case kDetachExit:
      Print("detached\n");
      std::exit(static_cast<int>(g_exitCode));
    case kDetachRelease:
      Release();
      break;
    case kDetachUseAndRelease:
      UseAndRelease();
      break;
    case kDetachReadText:
      ReadText();
      break;
    case kDetachNothing:
      return;
  }
  Print("detached\n");
}

}  // namespace

extern "C" __declspec(dllexport) void PlanDetach(DetachWork work, IQV_JavaVM* vm, unsigned exitCode) {
  g_work = work;
  g_vm = vm;
  g_exitCode = exitCode;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_DETACH) Detach();
  return TRUE;
}
