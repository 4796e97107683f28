/* client_library.dll once more, in C; see client_library.h. */
#define QVJVM_CALLBACKS_IMPLEMENTATION
#include "qvjvm/callbacks.h"

static IQV_JavaVM* g_vm;
static LONG64 volatile g_calls;

static int32_t Run(qv_call* call) {
  return InterlockedIncrement64(&g_calls) == 1 ? qv_raise(call->vm, QV_E_FAIL, L"of the library") : QV_S_OK;
}

__declspec(dllexport) int GiveRunnable(IQV_JavaVM* vm, void* list) {
  static const char* const interfaces[] = {"java/lang/Runnable"};
  static const qv_function functions[] = {{NULL, "()V", Run}};
  static const qv_implementation runnable = {interfaces, 1, functions, 1, NULL, NULL};
  qv_jobject object = NULL;
  qv_jclass cls = NULL;
  int32_t added = 0;
  int32_t status = qv_implement(vm, &runnable, NULL, &object, NULL);
  g_vm = vm;
  vm->lpVtbl->AddRef(vm);
  if (status >= 0) status = vm->lpVtbl->FindClass(vm, &cls, "java/util/List");
  if (status >= 0) {
    status = vm->lpVtbl->CallBooleanMethod(vm, &added, cls, list, "add", "(Ljava/lang/Object;)Z", object);
  }
  vm->lpVtbl->DeleteLocalRef(vm, object);
  vm->lpVtbl->DeleteLocalRef(vm, cls);
  return status;
}

__declspec(dllexport) int CloseLibrary(void) {
  const int32_t status = qv_close_callbacks(g_vm, 60000);
  g_vm->lpVtbl->Release(g_vm);
  return status == QV_S_OK;
}

__declspec(dllexport) int64_t CountCalls(void) { return g_calls; }
