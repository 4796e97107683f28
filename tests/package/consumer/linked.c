/* A C program that links to the import library. Prints the largest int and an exception's text. */
#include <stdio.h>

#include "qvjvm/qvjvm.h"

int main(void) {
  IQV_JavaVM* vm = NULL;
  qv_jclass integer = NULL;
  qv_jstring text = NULL;
  qv_jobject result = NULL;
  IQvString* error = NULL;
  int32_t largest = 0;
  if (QV_CreateJavaVM(&vm, NULL) < 0) return 1;
  if (vm->lpVtbl->FindClass(vm, &integer, "java/lang/Integer") < 0) return 2;
  if (vm->lpVtbl->GetStaticIntField(vm, &largest, integer, "MAX_VALUE") < 0) return 3;
  if (vm->lpVtbl->NewString(vm, &text, L"seventeen") < 0) return 4;
  if (vm->lpVtbl->CallStaticObjectMethod(vm, &result, integer, "valueOf", "(Ljava/lang/String;)Ljava/lang/Integer;",
                                         text) >= 0) {
    return 5;
  }
  if (vm->lpVtbl->GetErrorText(vm, &error) < 0) return 6;
  printf("%d\n%ls\n", (int)largest, error->lpVtbl->GetText(error));
  error->lpVtbl->Release(error);
  vm->lpVtbl->Release(vm);
  return 0;
}
